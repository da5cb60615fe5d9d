#include "PRSE_softirq_exit.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("irq:softirq_exit", PRSE_softirq_exit::factory);

namespace {

const size_t kVector = 0;

}  // namespace

PRSE_softirq_exit::PRSE_softirq_exit(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addValueToIRQChart(
        payload.time(), (int)(payload.u32(kVector) + (uint32_t)TimechartManager::kSoftIrqBase), 0, (int)payload.cpu());
}
