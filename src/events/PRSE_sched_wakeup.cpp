#include "PRSE_sched_wakeup.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("sched:sched_wakeup", PRSE_sched_wakeup::factory);

namespace {

const size_t kPid = 16;

}  // namespace

PRSE_sched_wakeup::PRSE_sched_wakeup(PerfRecordSampleEventS* record) : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.i32(kPid),
                                                          TimechartManager::kStatusWaitCpu, (int)payload.cpu(), 0);
}

PerfRecord* PRSE_sched_wakeup::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    return new PRSE_sched_wakeup(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
