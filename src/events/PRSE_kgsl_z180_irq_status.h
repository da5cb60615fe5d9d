// "kgsl:kgsl_z180_irq_status": a GPU interrupt of the 2D core, whose
// status words are not told apart: every one is charted as the third kind.
#ifndef ZELCONV_PRSE_KGSL_Z180_IRQ_STATUS_H
#define ZELCONV_PRSE_KGSL_Z180_IRQ_STATUS_H

#include "TracePointDecoder.h"

class PRSE_kgsl_z180_irq_status : public TracePointDecoder<PRSE_kgsl_z180_irq_status> {
public:
    explicit PRSE_kgsl_z180_irq_status(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_z180_irq_status";
};

#endif
