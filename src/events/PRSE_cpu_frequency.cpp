#include "PRSE_cpu_frequency.h"

#include <cstdio>

#include "EventPayload.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("power:cpu_frequency", PRSE_cpu_frequency::factory);

namespace {

const size_t kState = 0;  // kHz
const size_t kCpuId = 4;

}  // namespace

PRSE_cpu_frequency::PRSE_cpu_frequency(PerfRecordSampleEventS* record) : PerfRecordSampleEvent(record)
{
    const EventPayload payload(record);
    TimechartManager::Instance()->addValueToCPUChart(payload.time(), (int)payload.u32(kCpuId),
                                                     TimechartManager::kCpuFrequency,
                                                     (int)(payload.u32(kState) / 1000));
}

PerfRecord* PRSE_cpu_frequency::factory(char* record)
{
    if (record == nullptr)
        return nullptr;
    if (gVerbosity != 0)
        puts("PRSE: Found cpu_frequency");
    return new PRSE_cpu_frequency(reinterpret_cast<PerfRecordSampleEventS*>(record));
}
