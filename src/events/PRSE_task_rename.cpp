#include "PRSE_task_rename.h"

#include <string>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("task:task_rename", PRSE_task_rename::factory);

namespace {

const size_t kPid = 0;
const size_t kNewName = 20;

}  // namespace

PRSE_task_rename::PRSE_task_rename(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    std::string name = payload.text(kNewName);
    TimechartManager::Instance()->setProcessName(payload.i32(kPid), name, true);
}
