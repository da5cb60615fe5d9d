// "kgsl:kgsl_bus": the bus (AXI) of a GPU core switched off (0) or on (1). The
// switches form one power ladder: each adds its state to its own base, so a
// rung is reached from above by one switch going off and from below by the
// next going on. A flag other than 0 or 1 lands wherever the sum does.
#ifndef ZELCONV_PRSE_KGSL_BUS_H
#define ZELCONV_PRSE_KGSL_BUS_H

#include "TracePointDecoder.h"

class PRSE_kgsl_bus : public TracePointDecoder<PRSE_kgsl_bus> {
public:
    explicit PRSE_kgsl_bus(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_bus";
};

#endif
