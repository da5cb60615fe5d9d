// "kgsl:kgsl_issueibcmds": a process submits command buffers to a GPU core.
// The same mark, by the kind of drawing context (GL, CL, C2D, or other),
// stands on the submitting process's chart and on the core's, with a flag
// for the end of a frame. A submission that failed is not charted.
#ifndef ZELCONV_PRSE_KGSL_ISSUEIBCMDS_H
#define ZELCONV_PRSE_KGSL_ISSUEIBCMDS_H

#include "TracePointDecoder.h"

class PRSE_kgsl_issueibcmds : public TracePointDecoder<PRSE_kgsl_issueibcmds> {
public:
    explicit PRSE_kgsl_issueibcmds(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_issueibcmds";
};

#endif
