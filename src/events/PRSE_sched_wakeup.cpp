#include "PRSE_sched_wakeup.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("sched:sched_wakeup", PRSE_sched_wakeup::factory);

namespace {

const size_t kPid = 16;

}  // namespace

PRSE_sched_wakeup::PRSE_sched_wakeup(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.i32(kPid),
                                                          TimechartManager::kStatusWaitCpu, (int)payload.cpu(), 0);
}
