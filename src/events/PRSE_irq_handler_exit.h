// "irq:irq_handler_exit": a hard interrupt's handler ends, and the CPU
// returns to the busy value saved at the entry.
#ifndef ZELCONV_PRSE_IRQ_HANDLER_EXIT_H
#define ZELCONV_PRSE_IRQ_HANDLER_EXIT_H

#include "TracePointDecoder.h"

class PRSE_irq_handler_exit : public TracePointDecoder<PRSE_irq_handler_exit> {
public:
    explicit PRSE_irq_handler_exit(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "irq_handler_exit";
};

#endif
