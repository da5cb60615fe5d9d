#include "PRSE_kgsl_issueibcmds.h"

#include <cinttypes>

#include "EventPayload.h"
#include "KgslDevice.h"
#include "PerfRecordSampleFactoryRegister.h"
#include "Settings.h"
#include "TimechartManager.h"

static PerfRecordSampleFactoryRegister f("kgsl:kgsl_issueibcmds", PRSE_kgsl_issueibcmds::factory);

namespace {

const size_t kFlags = 20;
const size_t kResult = 24;
const size_t kContextType = 28;
const uint32_t kEndOfFrame = 0x100;

}  // namespace

PRSE_kgsl_issueibcmds::PRSE_kgsl_issueibcmds(PerfRecordSampleEventS* record) : TracePointDecoder(record)
{
    const EventPayload payload(record);
    const KgslDevice gpu(payload);
    const uint32_t flags = payload.u32(kFlags);
    const uint32_t contextType = payload.u32(kContextType);
    if (payload.u32(kResult) != 0)
        return;
    const uint32_t eof = flags & kEndOfFrame;
    verbose(1, "issueibcmds eof: %" PRIu32 ", drawctxt_type: %" PRIu32 "\n", eof, contextType);
    const unsigned int endOfFrame = eof != 0 ? 1 : 0;
    // Context types 1 to 3 (GL, CL, C2D) are kinds 1 to 3; every other type is kind 0.
    const int kind = contextType >= 1 && contextType <= 3 ? (int)contextType : 0;
    const int status = (int)TimechartManager::kStatusIssue + kind;
    TimechartManager* manager = TimechartManager::Instance();
    manager->addStatusToProcessChart(payload.time(), payload.commonPid(), status, 0, endOfFrame);
    manager->addStatusToGPUChart(payload.time(), gpu.dimension, gpu.device, status, endOfFrame);
}
