#include "PRSE_kgsl_pwrlevel.h"

#include <cinttypes>

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_pwrlevel", PRSE_kgsl_pwrlevel::factory);

namespace {

const size_t kFrequency = 8;  // Hz

}  // namespace

PRSE_kgsl_pwrlevel::PRSE_kgsl_pwrlevel(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    const KgslDevice gpu(payload);
    const uint32_t frequency = payload.u32(kFrequency);
    verbose(1, "pwrlevel freq: %" PRIu32 " on device: %s\n", frequency, gpu.name.c_str());
    TimechartManager::Instance()->addStatusToGPUChart(payload.time(), gpu.dimension, gpu.device,
                                                      TimechartManager::kGpuFrequency, frequency / 1000000);
}
