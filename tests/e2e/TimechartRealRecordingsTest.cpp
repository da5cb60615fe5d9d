#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ConverterRun.h"

namespace {

class TimechartRealRecordings : public testing::TestWithParam<const char*> {};

// None of the three recordings holds a trace-point that has a decoder (their
// event tables name hardware counters), so each converts to a document
// without entries; the run must survive all that the files bring.
TEST_P(TimechartRealRecordings, ConvertWithoutEntriesOrComplaint)
{
    const std::string file = std::string(ZELCONV_REAL_DIR) + "/" + GetParam();
    if (!std::filesystem::exists(file))
        GTEST_SKIP() << "real recording not found: " << file;
    ConverterRun run;
    run.systemFile("/proc/softirqs", "        CPU0\n      HI:     0\n   TIMER:   120\n");
    RunResult r = run.run({"-t", "-i", file, "-o", run.path("x.json")}, "x.json");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.output, "\n{\"entries\":[]}\n");
}

INSTANTIATE_TEST_SUITE_P(Files, TimechartRealRecordings,
                         testing::Values("perf.data.armv7-3.4", "perf.data.callgraph-3.4", "perf.data.raw-3.4"));

}  // namespace
