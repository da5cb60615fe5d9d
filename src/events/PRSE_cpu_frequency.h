// "power:cpu_frequency": a CPU's new clock frequency, charted in MHz on the
// CPU that the payload names, which need not be the one that reported it.
#ifndef ZELCONV_PRSE_CPU_FREQUENCY_H
#define ZELCONV_PRSE_CPU_FREQUENCY_H

#include "TracePointDecoder.h"

class PRSE_cpu_frequency : public TracePointDecoder<PRSE_cpu_frequency> {
public:
    explicit PRSE_cpu_frequency(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "cpu_frequency";
};

#endif
