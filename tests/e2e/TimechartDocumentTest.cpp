#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <utility>

#include "ConverterRun.h"
#include "JSONData.h"
#include "PerfDataBuilder.h"
#include "TracePayloads.h"

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
uint64_t at(int tenths) { return (uint64_t)tenths * (kSecond / 10); }

// The ids of the entries of a document read with the tolerant reader, or
// "unreadable"; the empty value behind the trailing comma is no entry.
std::set<std::string> entryIds(const std::string& text)
{
    JSONData root;
    if (!root.setFromJsonStlString(text) || root.getByKey("entries") == nullptr)
        return {"unreadable"};
    std::set<std::string> ids;
    const JSONData& entries = *root.getByKey("entries");
    for (int i = 0; i < entries.length(); i++) {
        const JSONData* id = entries.getByIndex(i)->getByKey("id");
        if (id != nullptr && id->stringValue() != nullptr)
            ids.insert(*id->stringValue());
    }
    return ids;
}

// Six decoders on three CPUs: a new thread is woken, runs on CPU 1, sleeps
// uninterruptibly, is woken and runs on CPU 0 with counters, and its parent
// then migrates from CPU 0 to CPU 2 before CPU 0's own switch is in the file.
TEST(TimechartDocument, SchedulerStoryBecomesItsEntries)
{
    const uint32_t l1[4] = {1, 2, 3, 4}, l2[2] = {5, 6}, none[4] = {0, 0, 0, 0}, none2[2] = {0, 0};
    ConverterRun run;
    run.env("kern_ver", "3.10");
    // Counters 0 to 4 are configured, by raw code; 5 and 6 only on builds that name BUILD_TYPE.
    run.systemFile("/opt/zelview/config/plotx/activeCounters", "11\n-\n4a\n4b\n4c\n4d\n-\n12\n13\n");
    B b = withEventTable().comm(10, 10, "shell");
    auto add = [&b](int tenths, uint32_t cpu, uint32_t pid, uint16_t type, const std::string& body) {
        b.tracepoint(0, pid, pid, at(tenths), cpu, B::rawArea(type, body, true));
    };
    add(10, 0, 10, kNewtask, payload::taskNewtask(11, "kid", payload::kCloneThread));
    add(11, 0, 10, kWakeupNew, payload::schedWakeup(11));
    add(12, 1, 0, kSwitch, payload::schedSwitch(0, 0, 11));
    add(13, 1, 11, kRename, payload::taskRename(11, "kid", "worker"));
    add(14, 1, 11, kSwitch, payload::schedSwitch(11, 2, 0));
    add(15, 0, 10, kWakeup, payload::schedWakeup(11));
    add(16, 0, 10, kSwitch, payload::schedSwitch(10, 0, 11));
    add(16, 0, 10, kCounters, payload::switchWithCounters(10, 11, 500, none, none2));
    add(18, 0, 11, kCounters, payload::switchWithCounters(11, 10, 700, l1, l2));
    add(18, 0, 11, kSwitch, payload::schedSwitch(11, 0, 10));
    add(20, 2, 0, kSwitch, payload::schedSwitch(0, 0, 10));
    run.input(b);
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.out << r.err;

    // The idle task is named after the kernel's process entry; the parent's
    // counter series hold only zeros and write nothing; the thread is renamed
    // and has its creator as parent.
    EXPECT_EQ(r.output, golden("timechart-scheduler-story.json"));
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
    EXPECT_EQ(r.output, golden("timechart-old-kernel-64-bit-layouts.json"));
}

// Without trace-points the timechart has no entries; profile mode decodes
// them but writes no charts.
TEST(TimechartDocument, NoEntriesWithoutTracePointsAndNoChartsInProfileMode)
{
    ConverterRun run;
    run.input(withEventTable().comm(5, 5, "sh").sample(0x1000, 5, 5, kSecond, 0, 1));
    RunResult r = run.run({"-t"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output, "\n{\"entries\":[]}\n");
    run.env("kern_ver", "3.10");
    run.input(
        withEventTable().tracepoint(0, 0, 0, at(5), 1, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 40), true)));
    r = run.run({});
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
        recording.tracepoint(0, (uint32_t)current[cpu], (uint32_t)current[cpu], kSecond + (uint64_t)i * 1000000,
                             (uint32_t)cpu, B::rawArea(kSwitch, payload::schedSwitch(current[cpu], state, next), true));
        if (random() % 4 == 0)
            recording.tracepoint(0, 1, 1, kSecond + (uint64_t)i * 1000000 + 500, (uint32_t)cpu,
                                 B::rawArea(kWakeup, payload::schedWakeup(100 + (int)(random() % 30)), true));
        current[cpu] = next;
        ran.insert({next, cpu});
    }
    run.input(recording);
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::set<std::string> ids = entryIds(r.output);
    for (auto [pid, cpu] : ran)
        EXPECT_EQ(ids.count("proc-" + std::to_string(pid) + "-r" + std::to_string(cpu)), 1u) << pid << " on " << cpu;
}

}  // namespace
