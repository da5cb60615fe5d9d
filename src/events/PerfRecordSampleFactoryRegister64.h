// Registers a decoder for the layout of a 64-bit kernel during static
// initialisation. Such a decoder is preferred over the general one of the
// same name when ARM64 is set.
#ifndef ZELCONV_PERFRECORDSAMPLEFACTORYREGISTER64_H
#define ZELCONV_PERFRECORDSAMPLEFACTORYREGISTER64_H

#include "PerfFactory.h"

class PerfRecordSampleFactoryRegister64 {
public:
    PerfRecordSampleFactoryRegister64(const char* name, PerfRecordCreateFn function);
};

#endif
