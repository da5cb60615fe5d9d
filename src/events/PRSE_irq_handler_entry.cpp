#include "PRSE_irq_handler_entry.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("irq:irq_handler_entry", PRSE_irq_handler_entry::factory);

namespace {

const size_t kIrq = 0;
const size_t kName = 4;  // a location word

}  // namespace

PRSE_irq_handler_entry::PRSE_irq_handler_entry(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    const uint64_t time = payload.time();
    const int irq = payload.i32(kIrq);
    const int cpu = (int)payload.cpu();
    TimechartManager* manager = TimechartManager::Instance();
    // Saved before the busy value below replaces it. One place per CPU, not
    // a stack: a nested entry saves the 1 of the outer one.
    manager->saveLastStateForCPU(cpu);
    manager->addValueToCPUChart(time, cpu, TimechartManager::kCpuBusy, 1);
    if (manager->addValueToIRQChart(time, irq, 1, cpu))
        manager->addIrqName(irq, payload.locationText(kName).c_str());
}
