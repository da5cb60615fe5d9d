#include "PRSE_irq_handler_exit.h"

#include <cstdio>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("irq:irq_handler_exit", PRSE_irq_handler_exit::factory);

namespace {

const size_t kIrq = 0;

}  // namespace

PRSE_irq_handler_exit::PRSE_irq_handler_exit(PerfRecordSampleEventS* record) : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    const uint64_t time = payload.time();
    const int cpu = (int)payload.cpu();
    TimechartManager* manager = TimechartManager::Instance();
    manager->addValueToCPUChart(time, cpu, TimechartManager::kCpuBusy, manager->getLastStateForCPU(cpu));
    manager->addValueToIRQChart(time, payload.i32(kIrq), 0, cpu);
}

PerfRecord* PRSE_irq_handler_exit::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    if (gVerbosity != 0)
        puts("PRSE: Found irq_handler_exit");
    return new PRSE_irq_handler_exit(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
