// "perf_trace_counters:sched_switch_with_ctrs": the hardware counter deltas
// of the task switched out. Closes that task's span with its deltas and
// opens the incoming task's span at zero.
#ifndef ZELCONV_PRSE_SCHED_SWITCH_WITH_CTRS_H
#define ZELCONV_PRSE_SCHED_SWITCH_WITH_CTRS_H

#include "TracePointDecoder.h"

class PRSE_sched_switch_with_ctrs : public TracePointDecoder<PRSE_sched_switch_with_ctrs> {
public:
    explicit PRSE_sched_switch_with_ctrs(PerfRecordSampleEventS* record);
};

#endif
