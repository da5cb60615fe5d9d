// "sched:sched_switch" as a 64-bit kernel lays it out: the previous state is
// 8 bytes wide, so the fields behind it lie 4 bytes further on.
#ifndef ZELCONV_PRSE_SCHED_SWITCH_64_H
#define ZELCONV_PRSE_SCHED_SWITCH_64_H

#include "PRSE_sched_switch.h"

class PRSE_sched_switch_64 : public TracePointDecoder<PRSE_sched_switch_64, PRSE_sched_switch> {
public:
    explicit PRSE_sched_switch_64(PerfRecordSampleEventS* record);

    void alloc(PerfRecordSampleEventS* record) override;
};

#endif
