// "sched:sched_wakeup": a task made runnable. Charted on the CPU that did the
// waking, which need not be the one where the task will run.
#ifndef ZELCONV_PRSE_SCHED_WAKEUP_H
#define ZELCONV_PRSE_SCHED_WAKEUP_H

#include "PerfRecordSampleEvent.h"

class PRSE_sched_wakeup : public PerfRecordSampleEvent {
public:
    explicit PRSE_sched_wakeup(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
