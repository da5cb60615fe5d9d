// Common ground of the chart tests: settings saved and restored around each
// test, raw times in seconds (no base, no start time), a fresh manager, the
// samples of a chart's series, and the text that a chart writes inside the
// "entries" array.
#ifndef ZELCONV_TESTS_TIMECHARTFIXTURE_H
#define ZELCONV_TESTS_TIMECHARTFIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "ChartEntryS.h"
#include "PerfJSONWriter.h"
#include "Settings.h"
#include "TimeBase.h"
#include "TimechartManager.h"

// The settings a chart test may change.
inline auto chartSettings()
{
    return std::tie(timeConversionType, gtodAtStart, gtodAtStop, gSelectiveProcessing, kern_ver, is64, gVerbosity,
                    gFirstTimestampToProcess, gLastTimestampToProcess, gReadable, baseTime);
}

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
        _saved = chartSettings();
        timeConversionType = kTimeRaw;
        gtodAtStart = 0.0;
        gtodAtStop = 0.0;
        gSelectiveProcessing = false;
        gVerbosity = 0;
        gReadable = true;
        TimechartManager::discardInstance();
    }

    void TearDown() override
    {
        chartSettings() = _saved;
        TimechartManager::discardInstance();
    }

    static TimechartManager& manager() { return *TimechartManager::Instance(); }

    // Seconds as a raw stamp in nanoseconds.
    static uint64_t ns(double seconds) { return (uint64_t)(seconds * 1e9 + 0.5); }

private:
    std::tuple<int32_t, double, double, bool, int32_t, bool, uint32_t, uint64_t, uint64_t, bool, double> _saved;
};

#endif
