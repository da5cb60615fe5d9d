// Conversion of the file's nanosecond clock to seconds on the chosen scale,
// and the debug markers written to the kernel log.
#ifndef ZELCONV_TIMEBASE_H
#define ZELCONV_TIMEBASE_H

#include <cstdint>

// Values of timeConversionType.
enum TimeConversion : int32_t {
    kTimeRaw = 0,
    kTimeEpoch = 1,
    kTimeBase = 2,
    kTimeZero = 3,
    kTimeLoomstat = 4,
};

// Ties the file's clock to wall-clock time through the uptime file and the clock.
void calcTimeConversion();
double time64ToDouble(uint64_t t);
double timeToEpochBase(uint64_t t);
double doTimeConversion(uint64_t t);
// For times already in seconds: only the loomstat scale maps them, all others give 0.0.
double doTimeConversion(double t);
void writeMarker(const char* text);

#endif
