// One sample: program counter, time, core, process and back-trace.
#ifndef ZELCONV_PERFRECORDSAMPLE_H
#define ZELCONV_PERFRECORDSAMPLE_H

#include "PerfRecord.h"

class PerfRecordSample : public PerfRecord {
public:
    // Time of the first plain sample, in seconds; the zero time scale subtracts it.
    static double _firstSampleTime;
};

#endif
