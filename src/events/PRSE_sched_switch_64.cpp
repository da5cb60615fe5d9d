#include "PRSE_sched_switch_64.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister64.h"

static PerfRecordSampleFactoryRegister64 f("sched:sched_switch", PRSE_sched_switch_64::factory);

namespace {

const size_t kPrevPid = 16;
const size_t kPrevState = 24;  // 8 bytes, of which the low 4 are read
const size_t kNextPid = 48;

}  // namespace

PRSE_sched_switch_64::PRSE_sched_switch_64(PerfRecordSampleEventS* record) : TracePointDecoder(record) {}

// A 64-bit kernel is 3.10 or later, so the payload's start does not follow kern_ver.
void PRSE_sched_switch_64::alloc(PerfRecordSampleEventS* record)
{
    const EventPayload payload(record, EventPayload::kStart64);
    _prevPid = payload.i32(kPrevPid);
    _prevState = payload.u32(kPrevState) & kUninterruptible;
    _nextPid = payload.i32(kNextPid);
}
