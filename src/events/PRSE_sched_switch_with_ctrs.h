// "perf_trace_counters:sched_switch_with_ctrs": the hardware counter deltas
// of the task switched out. Closes that task's span with its deltas and
// opens the incoming task's span at zero.
#ifndef ZELCONV_PRSE_SCHED_SWITCH_WITH_CTRS_H
#define ZELCONV_PRSE_SCHED_SWITCH_WITH_CTRS_H

#include "PerfRecordSampleEvent.h"

class PRSE_sched_switch_with_ctrs : public PerfRecordSampleEvent {
public:
    explicit PRSE_sched_switch_with_ctrs(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
