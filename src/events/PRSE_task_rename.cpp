#include "PRSE_task_rename.h"

#include <cstdio>
#include <string>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("task:task_rename", PRSE_task_rename::factory);

namespace {

const size_t kPid = 0;
const size_t kNewName = 20;

}  // namespace

PRSE_task_rename::PRSE_task_rename(PerfRecordSampleEventS* record) : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    std::string name = payload.text(kNewName);
    TimechartManager::Instance()->setProcessName(payload.i32(kPid), name, true);
}

PerfRecord* PRSE_task_rename::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    if (gVerbosity != 0)
        puts("PRSE: Found task_rename");
    return new PRSE_task_rename(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
