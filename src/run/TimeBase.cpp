#include "TimeBase.h"

#include <sys/time.h>

#include <cstdio>
#include <string>

#include "PerfRecordSample.h"
#include "Settings.h"
#include "SystemFiles.h"

// The uptime stream stays open for the rest of the run, holding its
// descriptor, so the files opened later take the numbers after it. Only a
// second call, which a run never makes, closes the stream of the first.
static FILE* uptimeFile = nullptr;

void calcTimeConversion()
{
    if (uptimeFile != nullptr)
        fclose(uptimeFile);
    uptimeFile = fopen(SystemFiles::path(SystemFiles::uptime).c_str(), "r");
    if (uptimeFile == nullptr)
        return;
    double uptime = 0.0;
    double idle = 0.0;
    (void)fscanf(uptimeFile, "%lf %lf", &uptime, &idle);

    struct timeval tv;
    static_assert(sizeof tv.tv_sec == 8, "32-bit targets build with _TIME_BITS=64");
    gettimeofday(&tv, nullptr);
    double now = tv.tv_sec + tv.tv_usec / 1000000.0;
    systemStartTime = now - uptime;
    if (gtodAtStart == 0.0)
        gtodAtStart = now;
}

// Splits the count before converting so that the whole seconds keep their precision.
double time64ToDouble(uint64_t t) { return (double)(t / 1000000000ULL) + (double)(t % 1000000000ULL) / 1000000000.0; }

double timeToEpochBase(uint64_t t) { return time64ToDouble(t) + systemStartTime; }

double doTimeConversion(uint64_t t)
{
    double seconds = time64ToDouble(t);
    switch (timeConversionType) {
    case kTimeRaw:
        return seconds;
    case kTimeEpoch:
        return seconds + systemStartTime;
    case kTimeBase:
        return seconds + baseTime;
    case kTimeZero:
        return seconds - PerfRecordSample::_firstSampleTime;
    case kTimeLoomstat:
        return seconds * timestampScaler + timestampOffset;
    default:
        return 0.0;
    }
}

double doTimeConversion(double t)
{
    if (timeConversionType == kTimeLoomstat)
        return t * timestampScaler + timestampOffset;
    return 0.0;
}

void writeMarker(const char* text)
{
    if (!gShowMarkers)
        return;
    if (gMarkerFile == nullptr) {
        gMarkerFile = fopen(SystemFiles::path(SystemFiles::kmsg).c_str(), "w");
        if (gMarkerFile == nullptr)
            return;
    }
    fprintf(gMarkerFile, "zcv-%s\n", text);
    fflush(gMarkerFile);
}
