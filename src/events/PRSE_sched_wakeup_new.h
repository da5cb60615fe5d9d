// "sched:sched_wakeup_new": a task made runnable. Charted on the CPU that did the
// waking, which need not be the one where the task will run.
#ifndef ZELCONV_PRSE_SCHED_WAKEUP_NEW_H
#define ZELCONV_PRSE_SCHED_WAKEUP_NEW_H

#include "TracePointDecoder.h"

class PRSE_sched_wakeup_new : public TracePointDecoder<PRSE_sched_wakeup_new> {
public:
    explicit PRSE_sched_wakeup_new(PerfRecordSampleEventS* record);
};

#endif
