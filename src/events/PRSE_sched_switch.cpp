#include "PRSE_sched_switch.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("sched:sched_switch", PRSE_sched_switch::factory);

namespace {

const size_t kPrevPid = 16;
const size_t kPrevState = 24;
const size_t kNextPid = 44;

}  // namespace

PRSE_sched_switch::PRSE_sched_switch(PerfRecordSampleEventS* record)
    : TracePointDecoder(record), _nextPid(0), _prevPid(0), _prevState(0)
{
}

int PRSE_sched_switch::process(PerfRecordSampleEventS* record)
{
    alloc(record);
    handle(record);
    return 1;
}

void PRSE_sched_switch::alloc(PerfRecordSampleEventS* record)
{
    const EventPayload payload(record);
    _prevPid = payload.i32(kPrevPid);
    _prevState = payload.u32(kPrevState) & kUninterruptible;
    _nextPid = payload.i32(kNextPid);
}

// The incoming task's status goes first: its chart looks for the CPU it
// migrated from in the last-pid table, which the second step then updates.
void PRSE_sched_switch::handle(PerfRecordSampleEventS* record)
{
    const EventPayload sample(record);
    const uint64_t time = sample.time();
    const int cpu = (int)sample.cpu();
    TimechartManager* manager = TimechartManager::Instance();

    manager->addStatusToProcessChart(time, _nextPid, TimechartManager::kStatusRunning, cpu, 0);
    manager->setLastPidForCpu(_nextPid, cpu);
    const unsigned int outgoing =
        _prevState == kUninterruptible ? TimechartManager::kStatusWaitIo : TimechartManager::kStatusNotRunning;
    manager->addStatusToProcessChart(time, _prevPid, (int)outgoing, cpu, 0);
    if (_nextPid == 0) {
        // The CPU goes idle; the idle task is never looked for on other CPUs.
        manager->addValueToCPUChart(time, cpu, TimechartManager::kCpuBusy, 0);
        return;
    }
    manager->addValueToCPUChart(time, cpu, TimechartManager::kCpuBusy, 1);
    // The CPU that still has this task as its last one is no longer busy with it.
    const int from = manager->pidMigratedFrom(_nextPid, cpu);
    if (from != -1)
        manager->addValueToCPUChart(time, from, TimechartManager::kCpuBusy, 0);
}
