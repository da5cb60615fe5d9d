#include "PRSE_kgsl_waittimestamp_exit.h"

#include <cstdio>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_waittimestamp_exit", PRSE_kgsl_waittimestamp_exit::factory);

PRSE_kgsl_waittimestamp_exit::PRSE_kgsl_waittimestamp_exit(PerfRecordSampleEventS* record)
    : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.commonPid(),
                                                          (int)TimechartManager::kStatusGpuDone, 0, 0);
}

PerfRecord* PRSE_kgsl_waittimestamp_exit::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    if (gVerbosity != 0)
        puts("PRSE: Found kgsl_waittimestamp_exit");
    return new PRSE_kgsl_waittimestamp_exit(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
