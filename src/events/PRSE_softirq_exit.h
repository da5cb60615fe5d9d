// "irq:softirq_exit": a soft interrupt ends. Charted as interrupt 1000 plus
// its vector; the CPU chart is not touched, and the name comes later from
// the machine's table of soft interrupts.
#ifndef ZELCONV_PRSE_SOFTIRQ_EXIT_H
#define ZELCONV_PRSE_SOFTIRQ_EXIT_H

#include "TracePointDecoder.h"

class PRSE_softirq_exit : public TracePointDecoder<PRSE_softirq_exit> {
public:
    explicit PRSE_softirq_exit(PerfRecordSampleEventS* record);
};

#endif
