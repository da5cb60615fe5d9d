// "power:cpu_frequency": a CPU's new clock frequency, charted in MHz on the
// CPU that the payload names, which need not be the one that reported it.
#ifndef ZELCONV_PRSE_CPU_FREQUENCY_H
#define ZELCONV_PRSE_CPU_FREQUENCY_H

#include "PerfRecordSampleEvent.h"

class PRSE_cpu_frequency : public PerfRecordSampleEvent {
public:
    explicit PRSE_cpu_frequency(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
