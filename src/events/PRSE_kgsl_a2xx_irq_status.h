// "kgsl:kgsl_a2xx_irq_status": a GPU interrupt. The two completion
// interrupts, IB1 and RB, are told apart; any other status word, a
// combination of both included, is charted as the third kind.
#ifndef ZELCONV_PRSE_KGSL_A2XX_IRQ_STATUS_H
#define ZELCONV_PRSE_KGSL_A2XX_IRQ_STATUS_H

#include "TracePointDecoder.h"

class PRSE_kgsl_a2xx_irq_status : public TracePointDecoder<PRSE_kgsl_a2xx_irq_status> {
public:
    explicit PRSE_kgsl_a2xx_irq_status(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "kgsl_a2xx_irq_status";
};

#endif
