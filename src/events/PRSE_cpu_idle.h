// "power:cpu_idle": a CPU enters or leaves an idle state. Charted on the
// sample's CPU; the payload's CPU is only printed. The state goes to the
// chart doubled plus one, so states 0 and 1 land in idle series 0 and 2 and
// higher states are dropped there; leaving (the kernel's -1) passes as -1.
#ifndef ZELCONV_PRSE_CPU_IDLE_H
#define ZELCONV_PRSE_CPU_IDLE_H

#include "TracePointDecoder.h"

class PRSE_cpu_idle : public TracePointDecoder<PRSE_cpu_idle> {
public:
    explicit PRSE_cpu_idle(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "cpu_idle";
};

#endif
