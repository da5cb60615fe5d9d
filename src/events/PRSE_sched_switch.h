// "sched:sched_switch": a context switch. Works in two steps: alloc takes the
// fields from the payload (the layout), handle tells the charts (the meaning),
// so a second layout only needs its own alloc.
#ifndef ZELCONV_PRSE_SCHED_SWITCH_H
#define ZELCONV_PRSE_SCHED_SWITCH_H

#include <cstdint>

#include "TracePointDecoder.h"

class PRSE_sched_switch : public TracePointDecoder<PRSE_sched_switch> {
public:
    // The kernel's uninterruptible sleep, the one previous state told apart.
    static constexpr uint32_t kUninterruptible = 2;

    explicit PRSE_sched_switch(PerfRecordSampleEventS* record);

    int process(PerfRecordSampleEventS* record) override;
    virtual void alloc(PerfRecordSampleEventS* record);
    virtual void handle(PerfRecordSampleEventS* record);

    int32_t _nextPid;
    int32_t _prevPid;
    uint32_t _prevState;
};

#endif
