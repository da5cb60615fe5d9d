// "task:task_rename": a task takes a new name, which wins over any name
// its chart holds.
#ifndef ZELCONV_PRSE_TASK_RENAME_H
#define ZELCONV_PRSE_TASK_RENAME_H

#include "TracePointDecoder.h"

class PRSE_task_rename : public TracePointDecoder<PRSE_task_rename> {
public:
    explicit PRSE_task_rename(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "task_rename";
};

#endif
