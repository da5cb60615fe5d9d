// "sched:sched_wakeup": a task made runnable. Charted on the CPU that did the
// waking, which need not be the one where the task will run.
#ifndef ZELCONV_PRSE_SCHED_WAKEUP_H
#define ZELCONV_PRSE_SCHED_WAKEUP_H

#include "TracePointDecoder.h"

class PRSE_sched_wakeup : public TracePointDecoder<PRSE_sched_wakeup> {
public:
    explicit PRSE_sched_wakeup(PerfRecordSampleEventS* record);
};

#endif
