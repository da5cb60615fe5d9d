#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>

#include "../events/TracePayloads.h"
#include "ConverterRun.h"
#include "JSONData.h"
#include "PerfDataBuilder.h"

using B = PerfDataBuilder;
using loomstat::JSONData;

namespace {

enum : uint16_t { kSwitch = 300, kWakeup, kWakeupNew, kNewtask, kRename, kCounters };

B withEventTable()
{
    return B()
        .attributes(112)
        .eventType(kSwitch, "sched:sched_switch")
        .eventType(kWakeup, "sched:sched_wakeup")
        .eventType(kWakeupNew, "sched:sched_wakeup_new")
        .eventType(kNewtask, "task:task_newtask")
        .eventType(kRename, "task:task_rename")
        .eventType(kCounters, "perf_trace_counters:sched_switch_with_ctrs");
}

const uint64_t kSecond = 1000000000ull;

// Stamps in tenths of a second.
uint64_t at(int tenths)
{
    return (uint64_t)tenths * (kSecond / 10);
}

// The ids of the entries in a document, with the ids of entries that have a point of value 1.
struct Parsed {
    bool ok = false;
    std::set<std::string> ids;
};

Parsed parse(const std::string& text)
{
    Parsed parsed;
    JSONData root;
    if (!root.setFromJsonStlString(text))
        return parsed;
    JSONData* entries = root.getByKey("entries");
    if (entries == nullptr || entries->_type != JSONData::TYPE_ARRAY)
        return parsed;
    for (int i = 0; i < entries->length(); i++) {
        JSONData* entry = entries->getByIndex(i);
        if (entry == nullptr || entry->_type != JSONData::TYPE_OBJECT)
            continue;  // the empty value behind the trailing comma
        JSONData* id = entry->getByKey("id");
        if (id != nullptr && id->stringValue() != nullptr)
            parsed.ids.insert(*id->stringValue());
    }
    parsed.ok = true;
    return parsed;
}

TEST(TimechartDocument, RecordingWithoutTracePointsWritesNoEntries)
{
    ConverterRun run;
    run.input(withEventTable().comm(5, 5, "sh").sample(0x1000, 5, 5, kSecond, 0, 1));
    RunResult r = run.run({"-t"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, "\n{\"entries\":[]}\n");
}

// Six decoders on three CPUs: a new thread is woken, runs on CPU 1, sleeps
// uninterruptibly, is woken and runs on CPU 0 with counters, and its parent
// then migrates from CPU 0 to CPU 2 before CPU 0's own switch is in the file.
TEST(TimechartDocument, SchedulerStoryBecomesItsEntries)
{
    const uint32_t l1[4] = {1, 2, 3, 4};
    const uint32_t l2[2] = {5, 6};
    const uint32_t none[4] = {0, 0, 0, 0};
    const uint32_t none2[2] = {0, 0};
    ConverterRun run;
    run.env("kern_ver", "3.10");
    // Counters 0 to 4 are configured, by raw code; 5 and 6 only on builds that name BUILD_TYPE.
    run.systemFile("/opt/zelview/config/plotx/activeCounters", "11\n-\n4a\n4b\n4c\n4d\n-\n12\n13\n");
    run.input(withEventTable()
                  .comm(10, 10, "shell")
                  .tracepoint(0, 10, 10, at(10), 0,
                              B::rawArea(kNewtask, payload::taskNewtask(11, "kid", payload::kCloneThread), true))
                  .tracepoint(0, 10, 10, at(11), 0, B::rawArea(kWakeupNew, payload::schedWakeup(11), true))
                  .tracepoint(0, 0, 0, at(12), 1, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 11), true))
                  .tracepoint(0, 11, 11, at(13), 1, B::rawArea(kRename, payload::taskRename(11, "kid", "worker"), true))
                  .tracepoint(0, 11, 11, at(14), 1, B::rawArea(kSwitch, payload::schedSwitch(11, 2, 0), true))
                  .tracepoint(0, 10, 10, at(15), 0, B::rawArea(kWakeup, payload::schedWakeup(11), true))
                  .tracepoint(0, 10, 10, at(16), 0, B::rawArea(kSwitch, payload::schedSwitch(10, 0, 11), true))
                  .tracepoint(0, 10, 10, at(16), 0,
                              B::rawArea(kCounters, payload::switchWithCounters(10, 11, 500, none, none2), true))
                  .tracepoint(0, 11, 11, at(18), 0,
                              B::rawArea(kCounters, payload::switchWithCounters(11, 10, 700, l1, l2), true))
                  .tracepoint(0, 11, 11, at(18), 0, B::rawArea(kSwitch, payload::schedSwitch(11, 0, 10), true))
                  .tracepoint(0, 0, 0, at(20), 2, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 10), true)));
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.out << r.err;

    const char* const codes[] = {"11", "4a", "4b", "4c", "4d"};
    auto counter = [&codes](int i, const char* points) {
        return "\n,{\"id\":\"proc-11-ctr" + std::to_string(i) + "\",\"name\":\"11 - worker\",\"tip\":\"" + codes[i] +
               "\",\"treeId\":\"" +
               std::to_string(i) +
               "_11_10_proc_root\",\"type\":\"bar\",\"class\":\"ctr:\",\"show\":0,"
               "\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},\"data\":[" +
               points + "]}";
    };
    const std::string expected =
        "\n{\"entries\":["
        "\n{\"id\":\"cpu-0-b\",\"name\":\"CPU 0 Busy\",\"treeId\":\"b_0_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{\"white\":\"#000000\",\"black\":\"#ffffff\"},"
        "\"data\":[[1.600000,1],[2.000000,0]]}"
        "\n,{\"id\":\"cpu-1-b\",\"name\":\"CPU 1 Busy\",\"treeId\":\"b_1_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"},"
        "\"data\":[[1.200000,1],[1.400000,0]]}"
        "\n,{\"id\":\"cpu-2-b\",\"name\":\"CPU 2 Busy\",\"treeId\":\"b_2_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{\"white\":\"#006400\",\"black\":\"#badcba\"},"
        "\"data\":[[2.000000,1]]}"
        // The idle task, named after the kernel's process entry.
        "\n,{\"id\":\"proc-0-r1\",\"name\":\"0 - kernel\",\"treeId\":\"0_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 1\","
        "\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"},\"data\":[[1.400000, 1]]}"
        // The parent: its counter series hold only zeros and write nothing.
        "\n,{\"id\":\"proc-10-r0\",\"name\":\"10 - shell\",\"treeId\":\"10_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 0\","
        "\"hints\":{\"white\":\"#000000\",\"black\":\"#ffffff\"},\"data\":[[1.800000, 1],[2.000000, 0]]}"
        "\n,{\"id\":\"proc-10-r2\",\"name\":\"10 - shell\",\"treeId\":\"10_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 2\","
        "\"hints\":{\"white\":\"#006400\",\"black\":\"#badcba\"},\"data\":[[2.000000, 1]]}"
        // The thread, renamed, with its creator as parent.
        "\n,{\"id\":\"proc-11-r0\",\"name\":\"11 - worker\",\"treeId\":\"11_10_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 0\","
        "\"hints\":{\"white\":\"#000000\",\"black\":\"#ffffff\"},\"data\":[[1.600000, 1],[1.800000, 0]]}"
        "\n,{\"id\":\"proc-11-r1\",\"name\":\"11 - worker\",\"treeId\":\"11_10_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 1\","
        "\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"},\"data\":[[1.200000, 1],[1.400000, 0]]}"
        "\n,{\"id\":\"proc-11-d\",\"name\":\"11 - worker\",\"treeId\":\"11_10_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:wait\",\"tip\":\"Waiting for I/O\",\"show\":0,"
        "\"hints\":{\"white\":\"#b0e0e6\",\"black\":\"#b0e0e6\"},\"data\":[[1.400000,1],[1.500000,0]]}"
        "\n,{\"id\":\"proc-11-w\",\"name\":\"11 - worker\",\"treeId\":\"11_10_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:wait\",\"tip\":\"Waiting for CPU\",\"show\":0,"
        "\"hints\":{\"white\":\"#f0c44c\",\"black\":\"#f0e68c\"},"
        "\"data\":[[1.100000,1],[1.200000,0],[1.500000,1],[1.600000,0]]}" +
        counter(0, "[1.600000,700],[1.800000,0]") + counter(1, "[1.600000,1],[1.800000,0]") +
        counter(2, "[1.600000,2],[1.800000,0]") + counter(3, "[1.600000,3],[1.800000,0]") +
        counter(4, "[1.600000,4],[1.800000,0]") + ",]}\n";
    EXPECT_EQ(r.output, expected);

    const Parsed parsed = parse(r.output);
    ASSERT_TRUE(parsed.ok);
    // Every task that switched in has a running entry on each CPU it ran on.
    for (const char* id : {"proc-0-r1", "proc-11-r1", "proc-11-r0", "proc-10-r0", "proc-10-r2"})
        EXPECT_EQ(parsed.ids.count(id), 1u) << id;
}

// Before 3.10 the common header has an extra word; with ARM64=y the switch
// and new-task events take the 64-bit layouts, which always have the short
// header, while the other events still follow kern_ver. Times are on the
// default base of 1000000 seconds.
TEST(TimechartDocument, OldKernelWithSixtyFourBitLayouts)
{
    ConverterRun run;
    run.env("kern_ver", "3.4").env("ARM64", "y");
    run.input(withEventTable()
                  .tracepoint(0, 20, 20, at(5), 3,
                              B::rawArea(kNewtask, payload::taskNewtask64(21, "t", payload::kCloneThread), true))
                  .tracepoint(0, 20, 20, at(6), 3, B::rawArea(kWakeup, payload::schedWakeup(21)))
                  .tracepoint(0, 20, 20, at(7), 3, B::rawArea(kSwitch, payload::schedSwitch64(20, 130, 21), true)));
    RunResult r = run.run({"-t"});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.output,
              "\n{\"entries\":["
              "\n{\"id\":\"cpu-3-b\",\"name\":\"CPU 3 Busy\",\"treeId\":\"b_3_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},"
              "\"data\":[[1000000.700000,1]]}"
              "\n,{\"id\":\"proc-20-d\",\"name\":\"20 - \",\"treeId\":\"20_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:wait\",\"tip\":\"Waiting for I/O\",\"show\":0,"
              "\"hints\":{\"white\":\"#b0e0e6\",\"black\":\"#b0e0e6\"},\"data\":[[1000000.700000,1]]}"
              "\n,{\"id\":\"proc-21-r3\",\"name\":\"21 - t\",\"treeId\":\"21_20_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 3\","
              "\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},\"data\":[[1000000.700000, 1]]}"
              "\n,{\"id\":\"proc-21-w\",\"name\":\"21 - t\",\"treeId\":\"21_20_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:wait\",\"tip\":\"Waiting for CPU\",\"show\":0,"
              "\"hints\":{\"white\":\"#f0c44c\",\"black\":\"#f0e68c\"},"
              "\"data\":[[1000000.600000,1],[1000000.700000,0]]}"
              ",]}\n");
}

TEST(TimechartDocument, EventNumberFourThousandEndsTheRun)
{
    ConverterRun run;
    run.input(B().eventType(4000, "sched:sched_switch"));
    RunResult r = run.run({"-t"});
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("out_of_range"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("vector::_M_range_check"), std::string::npos) << r.err;
    EXPECT_TRUE(r.outputExists);
    EXPECT_EQ(r.output, "");
}

TEST(TimechartDocument, ProfileModeDecodesButDoesNotWriteCharts)
{
    ConverterRun run;
    run.env("kern_ver", "3.10");
    run.input(withEventTable().tracepoint(0, 0, 0, at(5), 1, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 40), true)));
    RunResult r = run.run({});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.output.find("proc-40"), std::string::npos);
    EXPECT_EQ(r.output.find("\"entries\""), std::string::npos);
}

// Many switches at random over four CPUs, records of each CPU in time order
// and CPUs interleaved: every task that switched in has a running entry on
// every CPU it ran on, and the document reads back.
TEST(TimechartDocument, EveryTaskSwitchedInHasItsRunningRows)
{
    std::mt19937 random(12345);
    ConverterRun run;
    run.env("kern_ver", "3.10");
    B recording = withEventTable();
    std::set<std::pair<int, int>> ran;  // (pid, cpu)
    int current[4] = {0, 0, 0, 0};
    for (int i = 0; i < 1500; i++) {
        const int cpu = (int)(random() % 4);
        const int next = random() % 5 == 0 ? 0 : 100 + (int)(random() % 30);
        const uint32_t state = random() % 3;
        recording.tracepoint(0, (uint32_t)current[cpu], (uint32_t)current[cpu], kSecond + (uint64_t)i * 1000000, (uint32_t)cpu,
                             B::rawArea(kSwitch, payload::schedSwitch(current[cpu], state, next), true));
        if (random() % 4 == 0)
            recording.tracepoint(0, 1, 1, kSecond + (uint64_t)i * 1000000 + 500, (uint32_t)cpu,
                                 B::rawArea(kWakeup, payload::schedWakeup(100 + (int)(random() % 30)), true));
        current[cpu] = next;
        ran.insert({next, cpu});
    }
    run.input(recording);
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.err;
    const Parsed parsed = parse(r.output);
    ASSERT_TRUE(parsed.ok);
    for (auto [pid, cpu] : ran)
        EXPECT_EQ(parsed.ids.count("proc-" + std::to_string(pid) + "-r" + std::to_string(cpu)), 1u)
            << pid << " on " << cpu;
}

}  // namespace
