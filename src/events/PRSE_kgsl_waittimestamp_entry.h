// "kgsl:kgsl_waittimestamp_entry": a process begins waiting for the GPU. The
// process is the common header's, which no kernel version moves.
#ifndef ZELCONV_PRSE_KGSL_WAITTIMESTAMP_ENTRY_H
#define ZELCONV_PRSE_KGSL_WAITTIMESTAMP_ENTRY_H

#include "TracePointDecoder.h"

class PRSE_kgsl_waittimestamp_entry : public TracePointDecoder<PRSE_kgsl_waittimestamp_entry> {
public:
    explicit PRSE_kgsl_waittimestamp_entry(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_waittimestamp_entry";
};

#endif
