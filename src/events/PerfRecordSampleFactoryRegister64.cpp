#include "PerfRecordSampleFactoryRegister64.h"

#include "PerfRecordSampleEvent.h"

PerfRecordSampleFactoryRegister64::PerfRecordSampleFactoryRegister64(const char* name, PerfRecordCreateFn function)
{
    PerfRecordSampleEvent::initVectors();
    PerfRecordSampleEvent::registerEvent64(name, function);
}
