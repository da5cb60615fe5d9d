// Registers a decoder in the general name table during static
// initialisation. Each decoder's source holds one such object, named f, so
// that no central list of decoders exists.
#ifndef ZELCONV_PERFRECORDSAMPLEFACTORYREGISTER_H
#define ZELCONV_PERFRECORDSAMPLEFACTORYREGISTER_H

#include "PerfFactory.h"

class PerfRecordSampleFactoryRegister {
public:
    PerfRecordSampleFactoryRegister(const char* name, PerfRecordCreateFn function);
};

#endif
