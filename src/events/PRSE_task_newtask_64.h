// "task:task_newtask" as a 64-bit kernel lays it out: the clone flags are 8
// bytes wide and aligned, behind 4 bytes of padding.
#ifndef ZELCONV_PRSE_TASK_NEWTASK_64_H
#define ZELCONV_PRSE_TASK_NEWTASK_64_H

#include "PRSE_task_newtask.h"

class PRSE_task_newtask_64 : public TracePointDecoder<PRSE_task_newtask_64, PRSE_task_newtask> {
public:
    explicit PRSE_task_newtask_64(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "task_newtask_64";

    void alloc(PerfRecordSampleEventS* record) override;
};

#endif
