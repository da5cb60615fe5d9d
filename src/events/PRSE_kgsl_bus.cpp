#include "PRSE_kgsl_bus.h"

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_bus", PRSE_kgsl_bus::factory);

namespace {

const unsigned int kBase = 31;

}  // namespace

PRSE_kgsl_bus::PRSE_kgsl_bus(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    KgslDevice::addPowerStatus(EventPayload(record), kBase);
}
