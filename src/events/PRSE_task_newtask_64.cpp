#include "PRSE_task_newtask_64.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister64.h"
#include "Settings.h"

static PerfRecordSampleFactoryRegister64 f("task:task_newtask", PRSE_task_newtask_64::factory);

namespace {

const size_t kPid = 0;
const size_t kComm = 4;
const size_t kCloneFlags = 24;  // 8 bytes, of which the low 4 are read

}  // namespace

PRSE_task_newtask_64::PRSE_task_newtask_64(PerfRecordSampleEventS* record) : TracePointDecoder(record) {}

// A 64-bit kernel is 3.10 or later, so the payload's start does not follow kern_ver.
void PRSE_task_newtask_64::alloc(PerfRecordSampleEventS* record)
{
    const EventPayload payload(record, EventPayload::kStart64);
    _newPid = payload.i32(kPid);
    _cloneThread = payload.u32(kCloneFlags) & kCloneThread;
    _comm = payload.text(kComm);
}
