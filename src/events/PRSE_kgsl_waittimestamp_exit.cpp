#include "PRSE_kgsl_waittimestamp_exit.h"

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_waittimestamp_exit", PRSE_kgsl_waittimestamp_exit::factory);

PRSE_kgsl_waittimestamp_exit::PRSE_kgsl_waittimestamp_exit(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addStatusToProcessChart(payload.time(), payload.commonPid(),
                                                          (int)TimechartManager::kStatusGpuDone, 0, 0);
}
