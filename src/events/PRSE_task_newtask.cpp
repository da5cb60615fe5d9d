#include "PRSE_task_newtask.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("task:task_newtask", PRSE_task_newtask::factory);

namespace {

const size_t kPid = 0;
const size_t kComm = 4;
const size_t kCloneFlags = 20;

}  // namespace

PRSE_task_newtask::PRSE_task_newtask(PerfRecordSampleEventS* record)
    : TracePointDecoder(record), _cloneThread(0), _newPid(0)
{
}

int PRSE_task_newtask::process(PerfRecordSampleEventS* record)
{
    alloc(record);
    handle(record);
    return 1;
}

void PRSE_task_newtask::alloc(PerfRecordSampleEventS* record)
{
    const EventPayload payload(record);
    _newPid = payload.i32(kPid);
    _cloneThread = payload.u32(kCloneFlags) & kCloneThread;
    _comm = payload.text(kComm);
}

// The sample's own pid is the task that made the new one.
void PRSE_task_newtask::handle(PerfRecordSampleEventS* record)
{
    TimechartManager* manager = TimechartManager::Instance();
    manager->setProcessName(_newPid, _comm, false);
    if (_cloneThread != 0)
        manager->setProcessPPid(_newPid, (int)EventPayload(record).pid());
}
