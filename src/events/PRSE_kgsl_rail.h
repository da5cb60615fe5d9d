// "kgsl:kgsl_rail": the power rail of a GPU core switched off (0) or on (1). The
// switches form one power ladder: each adds its state to its own base, so a
// rung is reached from above by one switch going off and from below by the
// next going on. A flag other than 0 or 1 lands wherever the sum does.
#ifndef ZELCONV_PRSE_KGSL_RAIL_H
#define ZELCONV_PRSE_KGSL_RAIL_H

#include "TracePointDecoder.h"

class PRSE_kgsl_rail : public TracePointDecoder<PRSE_kgsl_rail> {
public:
    explicit PRSE_kgsl_rail(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_rail";
};

#endif
