#include "PRSE_kgsl_waittimestamp_entry.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_waittimestamp_entry", PRSE_kgsl_waittimestamp_entry::factory);

PRSE_kgsl_waittimestamp_entry::PRSE_kgsl_waittimestamp_entry(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.commonPid(),
                                                          (int)TimechartManager::kStatusWaitGpu, 0, 0);
}
