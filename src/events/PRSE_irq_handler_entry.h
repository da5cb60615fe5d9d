// "irq:irq_handler_entry": a hard interrupt's handler starts. The CPU
// becomes busy, and its busy value from before is saved for the exit; the
// interrupt's name is read from the record the first time it is seen.
#ifndef ZELCONV_PRSE_IRQ_HANDLER_ENTRY_H
#define ZELCONV_PRSE_IRQ_HANDLER_ENTRY_H

#include "TracePointDecoder.h"

class PRSE_irq_handler_entry : public TracePointDecoder<PRSE_irq_handler_entry> {
public:
    explicit PRSE_irq_handler_entry(PerfRecordSampleEventS* record);
    static constexpr const char* kFound = "irq_handler_entry";
};

#endif
