// "kgsl:kgsl_waittimestamp_exit": a process ends waiting for the GPU. The
// process is the common header's, which no kernel version moves.
#ifndef ZELCONV_PRSE_KGSL_WAITTIMESTAMP_EXIT_H
#define ZELCONV_PRSE_KGSL_WAITTIMESTAMP_EXIT_H

#include "PerfRecordSampleEvent.h"

class PRSE_kgsl_waittimestamp_exit : public PerfRecordSampleEvent {
public:
    explicit PRSE_kgsl_waittimestamp_exit(PerfRecordSampleEventS* record);
    static PerfRecord* factory(char* record);
};

#endif
