#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <tuple>

#include "TimechartFixture.h"

namespace fs = std::filesystem;

namespace {

const char* const kVariables[] = {"ZELCONV_SYSROOT", "ZELVIEW_CONFIG", "DOCUMENT_ROOT", "BUILD_TYPE"};

// The machine's files lie under a temporary root; the configuration variables start unset.
class ChartFinalization : public TimechartFixture {
protected:
    void SetUp() override
    {
        TimechartFixture::SetUp();
        for (const char* name : kVariables) {
            const char* value = getenv(name);
            if (value != nullptr)
                _saved[name] = value;
            unsetenv(name);
        }
        _dir = fs::temp_directory_path() / ("zelconv-final-" + std::to_string(getpid()));
        fs::create_directories(_dir);
        setenv("ZELCONV_SYSROOT", (_dir / "root").c_str(), 1);
    }

    void TearDown() override
    {
        for (const char* name : kVariables) {
            auto saved = _saved.find(name);
            if (saved != _saved.end())
                setenv(name, saved->second.c_str(), 1);
            else
                unsetenv(name);
        }
        fs::remove_all(_dir);
        TimechartFixture::TearDown();
    }

    // Writes a file at `path` inside the temporary directory.
    std::string file(const std::string& path, const std::string& contents)
    {
        const fs::path at = _dir / path;
        fs::create_directories(at.parent_path());
        std::ofstream(at, std::ios::binary) << contents;
        return at.string();
    }

    std::string dir(const std::string& path) const { return (_dir / path).string(); }

    // The seven counter names: "cycle|l1 l1 l1 l1|l2 l2".
    std::string counters()
    {
        const TimechartManager& m = manager();
        return m._cycleCounterName + "|" + m._l1CounterNames[0] + " " + m._l1CounterNames[1] + " " +
               m._l1CounterNames[2] + " " + m._l1CounterNames[3] + "|" + m._l2CounterNames[0] + " " +
               m._l2CounterNames[1];
    }

private:
    fs::path _dir;
    std::map<std::string, std::string> _saved;
};

TEST_F(ChartFinalization, SoftInterruptNamesFromTheMachinesTable)
{
    file("root/proc/softirqs",
         "                    CPU0       CPU1\n          HI:   0   0\nTIMER:1\n   NET_TX 5\n      \n"
         "      NET_RX:   7\n\n       BLOCK:   0\n");
    testing::internal::CaptureStderr();
    manager().finalizeChartData();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    // A line of blanks gives an empty name; an empty line ends the table.
    EXPECT_EQ(manager()._sirqNames,
              (std::map<int, std::string>{{0, "HI"}, {1, "TIMER"}, {2, "NET_TX"}, {3, ""}, {4, "NET_RX"}}));

    TimechartManager::discardInstance();
    fs::remove(dir("root/proc/softirqs"));
    testing::internal::CaptureStderr();
    manager().finalizeChartData();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: /proc/softirqs doesn't exist.\n");
    EXPECT_TRUE(manager()._sirqNames.empty());
}

// The active-counters file at its default place under the root (or none),
// BUILD_TYPE (or unset), and the seven names that result.
class ActiveCounters : public ChartFinalization,
                       public testing::WithParamInterface<std::tuple<const char*, const char*, const char*>> {};

TEST_P(ActiveCounters, LinesByGroup)
{
    auto [contents, build, expected] = GetParam();
    file("root/proc/softirqs", "");
    if (contents != nullptr)
        file("root/opt/zelview/config/plotx/activeCounters", contents);
    if (build != nullptr)
        setenv("BUILD_TYPE", build, 1);
    testing::internal::CaptureStderr();  // the missing counter-types file's diagnostic
    manager().finalizeChartData();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(counters(), expected);
}

const char* const kAll = "11\n-\n4a\n4b\n4c\n4d\n-\n6a\n6b\n-\n";

INSTANTIATE_TEST_SUITE_P(
    Files, ActiveCounters,
    testing::Values(
        std::make_tuple(nullptr, "user", "ffffffff|ffffffff ffffffff ffffffff ffffffff|ffffffff ffffffff"),
        std::make_tuple("", "user", "|ffffffff ffffffff ffffffff ffffffff|ffffffff ffffffff"),
        std::make_tuple("11\n", "user", "11|ffffffff ffffffff ffffffff ffffffff|ffffffff ffffffff"),
        std::make_tuple(kAll, nullptr, "11|4a 4b 4c 4d|ffffffff ffffffff"),
        std::make_tuple(kAll, "developer", "11|4a 4b 4c 4d|ffffffff ffffffff"),
        std::make_tuple(kAll, "user", "11|4a 4b 4c 4d|6a 6b"),
        // An empty line ends the level-one group, and the level-two one reads on from there.
        std::make_tuple("11\n-\n4a\n\n6a\n6b\n", "user", "11|4a ffffffff ffffffff ffffffff|6a 6b"),
        std::make_tuple("11\n-\n4a\n4b\n4c\n4d", "user", "11|4a 4b 4c 4d|ffffffff ffffffff")));

// Both files through their variables, taken as they are. Only the document's
// codes are lower-cased; the cycle counter keeps its code; an item without
// its group names nothing.
TEST_F(ChartFinalization, CounterTypesNameTheCodesOfTheirGroup)
{
    file("root/proc/softirqs", "");
    file("config/plotx/activeCounters", "0a\n-\n0a\n0A\n4b\n0a\n-\n6c\n6d\n-\n");
    file("www/configx/cfgx-types.json",
        "{\"items\":[{\"info\":{\"raw perf code\":\"0A\"},\"inputs\":[{\"event_type\":4}],\"name\":\"L1 miss\"},"
        "{\"info\":{\"raw perf code\":\"6C\"},\"inputs\":[{\"event_type\":6}],\"name\":\"L2 miss\"},"
        "{\"info\":{\"raw perf code\":\"4B\"},\"name\":\"no inputs\"},{\"name\":\"no info\"},"
        "{\"info\":{\"raw perf code\":\"6d\"},\"inputs\":\"odd\",\"name\":\"odd\"},7]}");
    setenv("ZELVIEW_CONFIG", dir("config").c_str(), 1);
    setenv("DOCUMENT_ROOT", dir("www").c_str(), 1);
    setenv("BUILD_TYPE", "user", 1);
    gVerbosity = 1;
    testing::internal::CaptureStdout();
    manager().finalizeChartData();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "l1[0] 0a => L1 miss\nl1[3] 0a => L1 miss\nl2[0] 6c => L2 miss\n");
    EXPECT_EQ(counters(), "0a|L1 miss 0A 4b L1 miss|L2 miss 6d");

    // A document that does not parse names nothing.
    file("www/configx/cfgx-types.json",
         "{\"items\":[{\"info\":{\"raw perf code\":\"0a\"},\"inputs\":[{\"event_type\":4}],\"name\":\"x\"}");
    testing::internal::CaptureStderr();
    manager().finalizeChartData();
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(counters(), "0a|0a 0A 4b 0a|6c 6d");
}

}  // namespace
