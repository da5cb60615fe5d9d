#include "PRSE_sched_switch_with_ctrs.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("perf_trace_counters:sched_switch_with_ctrs",
                                         PRSE_sched_switch_with_ctrs::factory);

namespace {

const size_t kPrevPid = 0;
const size_t kNextPid = 4;
const size_t kCycles = 8;
const size_t kL1 = 12;  // four deltas
const size_t kL2 = 28;  // two deltas

}  // namespace

PRSE_sched_switch_with_ctrs::PRSE_sched_switch_with_ctrs(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    unsigned int l1[4];
    unsigned int l2[2];
    for (size_t i = 0; i < 4; i++)
        l1[i] = payload.u32(kL1 + 4 * i);
    for (size_t i = 0; i < 2; i++)
        l2[i] = payload.u32(kL2 + 4 * i);
    TimechartManager* manager = TimechartManager::Instance();
    const int cpu = (int)payload.cpu();
    manager->addCountersToProcessChart(payload.time(), cpu, payload.i32(kPrevPid), payload.u32(kCycles), l1, l2);

    unsigned int zeroL1[4] = {0, 0, 0, 0};
    unsigned int zeroL2[2] = {0, 0};
    manager->addCountersToProcessChart(payload.time(), cpu, payload.i32(kNextPid), 0, zeroL1, zeroL2);
}
