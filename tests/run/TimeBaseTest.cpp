#include <gtest/gtest.h>

#include <cstdlib>

#include "ConverterReset.h"
#include "ConverterRun.h"
#include "PerfRecordSample.h"
#include "Settings.h"
#include "TimeBase.h"

namespace {

class TimeScales : public testing::Test {
protected:
    void SetUp() override { resetConverter(); }
    void TearDown() override
    {
        resetConverter();
        unsetenv("ZELCONV_SYSROOT");
    }
};

}  // namespace

TEST_F(TimeScales, SecondsKeepTheirPrecision)
{
    EXPECT_EQ(time64ToDouble(1999999999ULL), 1.0 + 0.999999999);
    EXPECT_EQ(time64ToDouble(5500000000ULL), 5.5);
    EXPECT_EQ(time64ToDouble(0xFFFFFFFFFFFFFFFFULL), 18446744073.709551615);
}

TEST_F(TimeScales, EachConversionType)
{
    const uint64_t t = 5500000000ULL;
    systemStartTime = 1700000000.0;
    PerfRecordSample::_firstSampleTime = 2.0;
    timestampScaler = 3.0;
    timestampOffset = 10.0;
    const double expected[] = {5.5, 1700000005.5, 1000005.5, 3.5, 26.5, 0.0};
    const int32_t types[] = {0, 1, 2, 3, 4, 7};
    for (int i = 0; i < 6; i++) {
        timeConversionType = types[i];
        EXPECT_EQ(doTimeConversion(t), expected[i]) << "type " << types[i];
        // Times already in seconds map only on the loomstat scale.
        EXPECT_EQ(doTimeConversion(5.5), types[i] == 4 ? 26.5 : 0.0) << "type " << types[i];
    }
    EXPECT_EQ(timeToEpochBase(t), 1700000005.5);
}

TEST_F(TimeScales, UptimeTiesTheClockToWallTime)
{
    ConverterRun scratch;
    scratch.systemFile("/proc/uptime", "1000.25 3000.00\n");
    setenv("ZELCONV_SYSROOT", scratch.path("root").c_str(), 1);
    gtodAtStart = 0.0;
    calcTimeConversion();
    EXPECT_GT(gtodAtStart, 1.6e9);
    EXPECT_NEAR(gtodAtStart - systemStartTime, 1000.25, 0.01);

    // A start time set by an option stays.
    gtodAtStart = 42.0;
    calcTimeConversion();
    EXPECT_EQ(gtodAtStart, 42.0);
}

TEST_F(TimeScales, MissingUptimeChangesNothing)
{
    ConverterRun scratch;
    setenv("ZELCONV_SYSROOT", scratch.path("root").c_str(), 1);
    systemStartTime = 7.0;
    calcTimeConversion();
    EXPECT_EQ(systemStartTime, 7.0);
    EXPECT_EQ(gtodAtStart, 0.0);
}

TEST_F(TimeScales, MarkersGoToTheKernelLogOnlyWhenAsked)
{
    ConverterRun scratch;
    scratch.systemFile("/dev/kmsg", "");
    setenv("ZELCONV_SYSROOT", scratch.path("root").c_str(), 1);
    writeMarker("libc.so");
    EXPECT_EQ(gMarkerFile, nullptr);
    gShowMarkers = true;
    writeMarker("libc.so");
    writeMarker("libm.so");
    EXPECT_EQ(readFile(scratch.path("root/dev/kmsg")), "zcv-libc.so\nzcv-libm.so\n");
}
