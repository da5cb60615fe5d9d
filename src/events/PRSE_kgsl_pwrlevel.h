// "kgsl:kgsl_pwrlevel": a GPU core's new clock frequency, charted in MHz.
#ifndef ZELCONV_PRSE_KGSL_PWRLEVEL_H
#define ZELCONV_PRSE_KGSL_PWRLEVEL_H

#include "TracePointDecoder.h"

class PRSE_kgsl_pwrlevel : public TracePointDecoder<PRSE_kgsl_pwrlevel> {
public:
    explicit PRSE_kgsl_pwrlevel(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_pwrlevel";
};

#endif
