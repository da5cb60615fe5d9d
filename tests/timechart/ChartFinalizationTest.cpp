#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "ConverterRun.h"
#include "TimechartFixture.h"

namespace {

const char* const kVariables[] = {"ZELCONV_SYSROOT", "ZELVIEW_CONFIG", "DOCUMENT_ROOT", "BUILD_TYPE"};

// The machine's files lie under a temporary root; the configuration variables
// are unset before and after.
class ChartFinalization : public TimechartFixture {
protected:
    void SetUp() override
    {
        TimechartFixture::SetUp();
        for (const char* name : kVariables)
            unsetenv(name);
        setenv("ZELCONV_SYSROOT", scratch.path("root").c_str(), 1);
    }

    void TearDown() override
    {
        for (const char* name : kVariables)
            unsetenv(name);
        TimechartFixture::TearDown();
    }

    // Finalizes a fresh manager; returns what went to standard error.
    std::string finalize()
    {
        TimechartManager::discardInstance();
        testing::internal::CaptureStderr();
        manager().finalizeChartData();
        return testing::internal::GetCapturedStderr();
    }

    // The seven counter names: "cycle|l1 l1 l1 l1|l2 l2".
    std::string counters()
    {
        const TimechartManager& m = manager();
        return m._cycleCounterName + "|" + m._l1CounterNames[0] + " " + m._l1CounterNames[1] + " " +
               m._l1CounterNames[2] + " " + m._l1CounterNames[3] + "|" + m._l2CounterNames[0] + " " +
               m._l2CounterNames[1];
    }

    ConverterRun scratch;
};

TEST_F(ChartFinalization, SoftInterruptNamesFromTheMachinesTable)
{
    scratch.systemFile("/proc/softirqs", "                    CPU0       CPU1\n          HI:   0   0\nTIMER:1\n"
                                         "   NET_TX 5\n      \n      NET_RX:   7\n\n       BLOCK:   0\n");
    EXPECT_EQ(finalize(), "");
    // A line of blanks gives an empty name; an empty line ends the table.
    EXPECT_EQ(manager()._sirqNames,
              (std::map<int, std::string>{{0, "HI"}, {1, "TIMER"}, {2, "NET_TX"}, {3, ""}, {4, "NET_RX"}}));
    std::remove(scratch.path("root/proc/softirqs").c_str());
    EXPECT_EQ(finalize(), "Error: /proc/softirqs doesn't exist.\n");
    EXPECT_TRUE(manager()._sirqNames.empty());
}

// The active-counters file at its default place under the root (or none),
// BUILD_TYPE (or unset), and the seven names that result.
TEST_F(ChartFinalization, ActiveCountersByGroup)
{
    const struct {
        const char* contents;
        const char* build;
        const char* names;
    } cases[] = {
        {nullptr, "user", "ffffffff|ffffffff ffffffff ffffffff ffffffff|ffffffff ffffffff"},
        {"", "user", "|ffffffff ffffffff ffffffff ffffffff|ffffffff ffffffff"},
        {"11\n", "user", "11|ffffffff ffffffff ffffffff ffffffff|ffffffff ffffffff"},
        {"11\n-\n4a\n4b\n4c\n4d\n-\n6a\n6b\n-\n", "developer", "11|4a 4b 4c 4d|ffffffff ffffffff"},
        // An empty line ends the level-one group, and the level-two one reads on from there.
        {"11\n-\n4a\n\n6a\n6b\n", "user", "11|4a ffffffff ffffffff ffffffff|6a 6b"},
        {"11\n-\n4a\n4b\n4c\n4d", "user", "11|4a 4b 4c 4d|ffffffff ffffffff"}};
    scratch.systemFile("/proc/softirqs", "");
    const std::string path = scratch.path("root/opt/zelview/config/plotx/activeCounters");
    for (const auto& c : cases) {
        std::remove(path.c_str());
        if (c.contents != nullptr)
            scratch.file("root/opt/zelview/config/plotx/activeCounters", c.contents);
        c.build != nullptr ? setenv("BUILD_TYPE", c.build, 1) : unsetenv("BUILD_TYPE");
        finalize();  // with the missing counter-types file's diagnostic
        EXPECT_EQ(counters(), c.names) << (c.contents ? c.contents : "none") << (c.build ? c.build : "unset");
    }
}

// Both files through their variables, taken as they are. Only the document's
// codes are lower-cased; the cycle counter keeps its code; an item without
// its group names nothing; a document that does not parse names nothing.
TEST_F(ChartFinalization, CounterTypesNameTheCodesOfTheirGroup)
{
    scratch.systemFile("/proc/softirqs", "");
    scratch.file("config/plotx/activeCounters", "0a\n-\n0a\n0A\n4b\n0a\n-\n6c\n6d\n-\n");
    scratch.file("www/configx/cfgx-types.json",
                 "{\"items\":[{\"info\":{\"raw perf code\":\"0A\"},\"inputs\":[{\"event_type\":4}],\"name\":\"L1 miss\"},"
                 "{\"info\":{\"raw perf code\":\"6C\"},\"inputs\":[{\"event_type\":6}],\"name\":\"L2 miss\"},"
                 "{\"info\":{\"raw perf code\":\"4B\"},\"name\":\"no inputs\"},{\"name\":\"no info\"},"
                 "{\"info\":{\"raw perf code\":\"6d\"},\"inputs\":\"odd\",\"name\":\"odd\"},7]}");
    setenv("ZELVIEW_CONFIG", scratch.path("config").c_str(), 1);
    setenv("DOCUMENT_ROOT", scratch.path("www").c_str(), 1);
    setenv("BUILD_TYPE", "user", 1);
    EXPECT_EQ(finalize(), "");
    EXPECT_EQ(counters(), "0a|L1 miss 0A 4b L1 miss|L2 miss 6d");

    scratch.file("www/configx/cfgx-types.json",
                 "{\"items\":[{\"info\":{\"raw perf code\":\"0a\"},\"inputs\":[{\"event_type\":4}],\"name\":\"x\"}");
    EXPECT_NE(finalize(), "");
    EXPECT_EQ(counters(), "0a|0a 0A 4b 0a|6c 6d");
}

}  // namespace
