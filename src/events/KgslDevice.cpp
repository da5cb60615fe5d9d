#include "KgslDevice.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "EventPayload.h"
#include "TimechartManager.h"

namespace {

const size_t kName = 0;
const size_t kDimensionAt = 5;
const size_t kDeviceAt = 7;
const size_t kPowerFlag = 4;

const uint32_t kIb1Complete = 0x40000000u;
const uint32_t kRbComplete = 0x80000000u;

// The leading decimal number of a text, 0 when there is none. A number beyond
// the range of int stops at its limit, as it does on the 32-bit target.
int leadingNumber(const std::string& text)
{
    const long long value = strtoll(text.c_str(), nullptr, 10);
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return (int)value;
}

}  // namespace

// A name shorter than 8 characters is not an error: the positions read the
// bytes behind its NUL, and the chart of whatever pair that gives is made.
KgslDevice::KgslDevice(const EventPayload& payload)
    : name(payload.locationText(kName)),
      dimension(leadingNumber(payload.locationText(kName, kDimensionAt))),
      device(leadingNumber(payload.locationText(kName, kDeviceAt)))
{
}

int KgslDevice::irqStatus(uint32_t status)
{
    if (status == kIb1Complete)
        return TimechartManager::kGpuIrq;
    if (status == kRbComplete)
        return TimechartManager::kGpuIrq + 1;
    return TimechartManager::kGpuIrq + 2;
}

void KgslDevice::addPowerStatus(const EventPayload& payload, unsigned int base)
{
    const KgslDevice gpu(payload);
    TimechartManager::Instance()->addStatusToGPUChart(payload.time(), gpu.dimension, gpu.device,
                                                      (int)(base + payload.u32(kPowerFlag)), 0);
}
