// "sched:sched_wakeup_new": a task made runnable. Charted on the CPU that did the
// waking, which need not be the one where the task will run.
#ifndef ZELCONV_PRSE_SCHED_WAKEUP_NEW_H
#define ZELCONV_PRSE_SCHED_WAKEUP_NEW_H

#include "PerfRecordSampleEvent.h"

class PRSE_sched_wakeup_new : public PerfRecordSampleEvent {
public:
    explicit PRSE_sched_wakeup_new(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
