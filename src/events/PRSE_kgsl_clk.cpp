#include "PRSE_kgsl_clk.h"

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_clk", PRSE_kgsl_clk::factory);

namespace {

const unsigned int kBase = 32;

}  // namespace

PRSE_kgsl_clk::PRSE_kgsl_clk(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    KgslDevice::addPowerStatus(EventPayload(record), kBase);
}
