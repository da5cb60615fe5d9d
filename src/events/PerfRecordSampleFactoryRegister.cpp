#include "PerfRecordSampleFactoryRegister.h"

#include "PerfRecordSampleEvent.h"

PerfRecordSampleFactoryRegister::PerfRecordSampleFactoryRegister(const char* name, PerfRecordCreateFn function)
{
    PerfRecordSampleEvent::initVectors();
    PerfRecordSampleEvent::registerEvent(name, function);
}
