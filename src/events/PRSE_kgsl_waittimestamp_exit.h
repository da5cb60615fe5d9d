// "kgsl:kgsl_waittimestamp_exit": a process ends waiting for the GPU. The
// process is the common header's, which no kernel version moves.
#ifndef ZELCONV_PRSE_KGSL_WAITTIMESTAMP_EXIT_H
#define ZELCONV_PRSE_KGSL_WAITTIMESTAMP_EXIT_H

#include "TracePointDecoder.h"

class PRSE_kgsl_waittimestamp_exit : public TracePointDecoder<PRSE_kgsl_waittimestamp_exit> {
public:
    explicit PRSE_kgsl_waittimestamp_exit(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_waittimestamp_exit";
};

#endif
