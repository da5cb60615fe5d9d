// Common ground of the chart tests: the converter reset around each test, raw
// times in seconds (no base, no start time), the samples of a chart's series,
// and the text that a chart writes inside the "entries" array.
#ifndef ZELCONV_TESTS_TIMECHARTFIXTURE_H
#define ZELCONV_TESTS_TIMECHARTFIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ChartEntryS.h"
#include "ConverterReset.h"
#include "PerfJSONWriter.h"
#include "Settings.h"
#include "TimeBase.h"
#include "TimechartManager.h"

// The samples of one series as "time:value" items, times in tenths of a second.
inline std::string samples(const std::vector<ChartEntryS>& series)
{
    std::string out;
    for (const ChartEntryS& s : series)
        out += (out.empty() ? "" : " ") + std::to_string((int)(s.time * 10 + 0.5)) + ":" + std::to_string(s.value);
    return out;
}

// What `write` puts between the opening and the closing of an array, as
// the timechart writer is set up by default: labels on, white space off.
inline std::string entriesOf(const std::function<void(PerfJSONWriter&)>& write)
{
    PerfJSONWriter writer(true, false);
    writer.open("/dev/null");
    writer.writeStructStart();
    writer.writeArrayStart("e");
    write(writer);
    writer.writeArrayEnd();
    writer.writeStructEnd();
    // "\n{\"e\":[", the entries, then "]}", or ",]}" after an entry.
    const std::string text = writer.document();
    const std::string head = "\n{\"e\":[", tail = text.size() > 9 ? ",]}" : "]}";
    if (text.compare(0, head.size(), head) != 0 || text.compare(text.size() - tail.size(), tail.size(), tail) != 0)
        return "unexpected: " + text;
    return text.substr(head.size(), text.size() - head.size() - tail.size());
}

class TimechartFixture : public testing::Test {
protected:
    void SetUp() override
    {
        resetConverter();
        timeConversionType = kTimeRaw;
    }

    void TearDown() override { resetConverter(); }

    static TimechartManager& manager() { return *TimechartManager::Instance(); }

    // Seconds as a raw stamp in nanoseconds.
    static uint64_t ns(double seconds) { return (uint64_t)(seconds * 1e9 + 0.5); }
};

#endif
