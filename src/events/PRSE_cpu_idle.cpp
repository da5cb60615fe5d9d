#include "PRSE_cpu_idle.h"

#include <cinttypes>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("power:cpu_idle", PRSE_cpu_idle::factory);

namespace {

const size_t kState = 0;
const size_t kCpuId = 4;
const uint32_t kLeave = 0xFFFFFFFFu;

}  // namespace

PRSE_cpu_idle::PRSE_cpu_idle(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    const uint32_t state = payload.u32(kState);
    const uint32_t value = state == kLeave ? kLeave : state * 2 + 1;
    verbose(1, "PRSE: cpu_idle.state=%" PRIu32 ", cpu_id=%" PRIu32 "\n", value, payload.u32(kCpuId));
    TimechartManager::Instance()->addValueToCPUChart(payload.time(), (int)payload.cpu(), TimechartManager::kCpuIdle,
                                                     (int)value);
}
