// "task:task_rename": a task takes a new name, which wins over any name
// its chart holds.
#ifndef ZELCONV_PRSE_TASK_RENAME_H
#define ZELCONV_PRSE_TASK_RENAME_H

#include "PerfRecordSampleEvent.h"

class PRSE_task_rename : public PerfRecordSampleEvent {
public:
    explicit PRSE_task_rename(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
