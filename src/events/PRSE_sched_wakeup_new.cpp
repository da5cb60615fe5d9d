#include "PRSE_sched_wakeup_new.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("sched:sched_wakeup_new", PRSE_sched_wakeup_new::factory);

namespace {

const size_t kPid = 16;

}  // namespace

PRSE_sched_wakeup_new::PRSE_sched_wakeup_new(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.i32(kPid),
                                                          TimechartManager::kStatusWaitCpu, (int)payload.cpu(), 0);
}
