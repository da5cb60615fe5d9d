// Common ground of the event and chart tests: the converter reset around each
// test, raw times in seconds (no base, no start time), and the samples of a
// chart's series.
#ifndef ZELCONV_TESTS_TIMECHARTFIXTURE_H
#define ZELCONV_TESTS_TIMECHARTFIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ChartEntryS.h"
#include "ConverterReset.h"
#include "Settings.h"
#include "TimeBase.h"

// The samples of one series as "time:value" items, times in tenths of a second.
inline std::string samples(const std::vector<ChartEntryS>& series)
{
    std::string out;
    for (const ChartEntryS& s : series)
        out += (out.empty() ? "" : " ") + std::to_string((int)(s.time * 10 + 0.5)) + ":" + std::to_string(s.value);
    return out;
}

class TimechartFixture : public testing::Test {
protected:
    void SetUp() override
    {
        resetConverter();
        timeConversionType = kTimeRaw;
    }

    void TearDown() override { resetConverter(); }
};

#endif
