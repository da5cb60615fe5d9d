#include "PRSE_softirq_entry.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("irq:softirq_entry", PRSE_softirq_entry::factory);

namespace {

const size_t kVector = 0;

}  // namespace

PRSE_softirq_entry::PRSE_softirq_entry(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addValueToIRQChart(
        payload.time(), (int)(payload.u32(kVector) + (uint32_t)TimechartManager::kSoftIrqBase), 1, (int)payload.cpu());
}
