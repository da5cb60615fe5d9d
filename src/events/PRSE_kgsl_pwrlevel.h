// "kgsl:kgsl_pwrlevel": a GPU core's new clock frequency, charted in MHz.
#ifndef ZELCONV_PRSE_KGSL_PWRLEVEL_H
#define ZELCONV_PRSE_KGSL_PWRLEVEL_H

#include "PerfRecordSampleEvent.h"

class PRSE_kgsl_pwrlevel : public PerfRecordSampleEvent {
public:
    explicit PRSE_kgsl_pwrlevel(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
