#include "PRSE_kgsl_clk.h"

#include <cstdio>

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_clk", PRSE_kgsl_clk::factory);

namespace {

const size_t kFlag = 4;
const unsigned int kBase = 32;

}  // namespace

PRSE_kgsl_clk::PRSE_kgsl_clk(PerfRecordSampleEventS* record) : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    const KgslDevice gpu(payload);
    TimechartManager::Instance()->addStatusToGPUChart(payload.time(), gpu.dimension, gpu.device,
                                                      (int)(kBase + payload.u32(kFlag)), 0);
}

PerfRecord* PRSE_kgsl_clk::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    if (gVerbosity != 0)
        puts("PRSE: Found kgsl_clk");
    return new PRSE_kgsl_clk(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
