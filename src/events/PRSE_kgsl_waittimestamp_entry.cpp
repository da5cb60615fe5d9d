#include "PRSE_kgsl_waittimestamp_entry.h"

#include <cstdio>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_waittimestamp_entry", PRSE_kgsl_waittimestamp_entry::factory);

PRSE_kgsl_waittimestamp_entry::PRSE_kgsl_waittimestamp_entry(PerfRecordSampleEventS* record)
    : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.commonPid(),
                                                          (int)TimechartManager::kStatusWaitGpu, 0, 0);
}

PerfRecord* PRSE_kgsl_waittimestamp_entry::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    if (gVerbosity != 0)
        puts("PRSE: Found kgsl_waittimestamp_entry");
    return new PRSE_kgsl_waittimestamp_entry(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
