// "task:task_newtask": a new task. Names it, unless it has a name already,
// and gives a new thread its creator as parent. Works in two steps like the
// switch decoder, so the 64-bit layout only needs its own alloc.
#ifndef ZELCONV_PRSE_TASK_NEWTASK_H
#define ZELCONV_PRSE_TASK_NEWTASK_H

#include <cstdint>
#include <string>

#include "TracePointDecoder.h"

class PRSE_task_newtask : public TracePointDecoder<PRSE_task_newtask> {
public:
    // The kernel's clone flag for a new thread within the caller's process.
    static constexpr uint32_t kCloneThread = 0x10000;

    explicit PRSE_task_newtask(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "task_newtask";

    int process(PerfRecordSampleEventS* record) override;
    virtual void alloc(PerfRecordSampleEventS* record);
    virtual void handle(PerfRecordSampleEventS* record);

    uint32_t _cloneThread;
    int32_t _newPid;
    std::string _comm;
};

#endif
