#include "PRSE_kgsl_a2xx_irq_status.h"

#include <cinttypes>

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_a2xx_irq_status", PRSE_kgsl_a2xx_irq_status::factory);

namespace {

const size_t kStatus = 8;

}  // namespace

PRSE_kgsl_a2xx_irq_status::PRSE_kgsl_a2xx_irq_status(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    const KgslDevice gpu(payload);
    const uint32_t status = payload.u32(kStatus);
    verbose(1, "a2xx_irq status: %" PRIu32 " on device: %s\n", status, gpu.name.c_str());
    TimechartManager::Instance()->addStatusToGPUChart(payload.time(), gpu.dimension, gpu.device,
                                                      KgslDevice::irqStatus(status), 0);
}
