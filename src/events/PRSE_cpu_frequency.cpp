#include "PRSE_cpu_frequency.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("power:cpu_frequency", PRSE_cpu_frequency::factory);

namespace {

const size_t kState = 0;  // kHz
const size_t kCpuId = 4;

}  // namespace

PRSE_cpu_frequency::PRSE_cpu_frequency(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addValueToCPUChart(
        payload.time(), (int)payload.u32(kCpuId), TimechartManager::kCpuFrequency, (int)(payload.u32(kState) / 1000));
}
