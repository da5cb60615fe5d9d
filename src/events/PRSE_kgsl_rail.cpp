#include "PRSE_kgsl_rail.h"

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_rail", PRSE_kgsl_rail::factory);

namespace {

const unsigned int kBase = 30;

}  // namespace

PRSE_kgsl_rail::PRSE_kgsl_rail(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    KgslDevice::addPowerStatus(EventPayload(record), kBase);
}
