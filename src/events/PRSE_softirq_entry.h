// "irq:softirq_entry": a soft interrupt starts. Charted as interrupt 1000 plus
// its vector; the CPU chart is not touched, and the name comes later from
// the machine's table of soft interrupts.
#ifndef ZELCONV_PRSE_SOFTIRQ_ENTRY_H
#define ZELCONV_PRSE_SOFTIRQ_ENTRY_H

#include "TracePointDecoder.h"

class PRSE_softirq_entry : public TracePointDecoder<PRSE_softirq_entry> {
public:
    explicit PRSE_softirq_entry(PerfRecordSampleEventS* record);
};

#endif
