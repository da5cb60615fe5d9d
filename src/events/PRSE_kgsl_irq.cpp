#include "PRSE_kgsl_irq.h"

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_irq", PRSE_kgsl_irq::factory);

namespace {

const unsigned int kBase = 33;

}  // namespace

PRSE_kgsl_irq::PRSE_kgsl_irq(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    KgslDevice::addPowerStatus(EventPayload(record), kBase);
}
