// Base of every trace-point decoder, with the factory that the decoder
// registers for its trace-point name: a new Decoder over the record, announced
// on the verbose output when the decoder sets kFound to its name. Base is the
// decoder that a variant for another layout extends.
#ifndef ZELCONV_TRACEPOINTDECODER_H
#define ZELCONV_TRACEPOINTDECODER_H

#include "PerfRecordSampleEvent.h"
#include "Settings.h"

template <class Decoder, class Base = PerfRecordSampleEvent>
class TracePointDecoder : public Base {
public:
    using Base::Base;
    static constexpr const char* kFound = nullptr;

    static PerfRecord* factory(char* record)
    {
        if (record == nullptr)
            return nullptr;
        if (Decoder::kFound != nullptr)
            verbose(1, "PRSE: Found %s\n", Decoder::kFound);
        return new Decoder(reinterpret_cast<PerfRecordSampleEventS*>(record));
    }
};

#endif
