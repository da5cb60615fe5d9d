#include "PRSE_irq_handler_exit.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("irq:irq_handler_exit", PRSE_irq_handler_exit::factory);

namespace {

const size_t kIrq = 0;

}  // namespace

PRSE_irq_handler_exit::PRSE_irq_handler_exit(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    const uint64_t time = payload.time();
    const int cpu = (int)payload.cpu();
    TimechartManager* manager = TimechartManager::Instance();
    manager->addValueToCPUChart(time, cpu, TimechartManager::kCpuBusy, manager->getLastStateForCPU(cpu));
    manager->addValueToIRQChart(time, payload.i32(kIrq), 0, cpu);
}
