#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <utility>

#include "TracePayloads.h"
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

const char* const kCpuHints[] = {"#000000\",\"black\":\"#ffffff", "#4b0082\",\"black\":\"#caa1e0",
                                 "#006400\",\"black\":\"#badcba", "#232381\",\"black\":\"#a3a3e6"};

// Entries as the writer puts them, each after its "\n,"; document() drops the first comma.
std::string busy(int cpu, const std::string& data)
{
    const std::string c = std::to_string(cpu);
    return "\n,{\"id\":\"cpu-" + c + "-b\",\"name\":\"CPU " + c + " Busy\",\"treeId\":\"b_" + c +
           "_cpu_root\",\"type\":\"binary\",\"class\":\"cpu:busy\",\"show\":1,\"hints\":{\"white\":\"" + kCpuHints[cpu] +
           "\"},\"data\":[" + data + "]}";
}

// The rows of a process shown 0: `who` is its "pid - name".
std::string running(const std::string& pid, const std::string& who, const std::string& tree, int cpu,
                    const std::string& data)
{
    const std::string c = std::to_string(cpu);
    return "\n,{\"id\":\"proc-" + pid + "-r" + c + "\",\"name\":\"" + who + "\",\"treeId\":\"" + tree +
           "\",\"type\":\"binary\",\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU " + c +
           "\",\"hints\":{\"white\":\"" + kCpuHints[cpu] + "\"},\"data\":[" + data + "]}";
}

std::string waiting(const std::string& pid, const std::string& who, const std::string& tree, bool io,
                 const std::string& data)
{
    return "\n,{\"id\":\"proc-" + pid + (io ? "-d" : "-w") + "\",\"name\":\"" + who + "\",\"treeId\":\"" + tree +
           "\",\"type\":\"binary\",\"class\":\"proc:wait\",\"tip\":\"Waiting for " +
           (io ? "I/O\",\"show\":0,\"hints\":{\"white\":\"#b0e0e6\",\"black\":\"#b0e0e6\"}"
               : "CPU\",\"show\":0,\"hints\":{\"white\":\"#f0c44c\",\"black\":\"#f0e68c\"}") +
           ",\"data\":[" + data + "]}";
}

std::string document(const std::string& entries)
{
    return "\n{\"entries\":[\n" + entries.substr(2) + ",]}\n";
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

    const char* const codes[] = {"11", "4a", "4b", "4c", "4d"};
    auto counter = [&codes](int i, const char* points) {
        return "\n,{\"id\":\"proc-11-ctr" + std::to_string(i) + "\",\"name\":\"11 - worker\",\"tip\":\"" + codes[i] +
               "\",\"treeId\":\"" + std::to_string(i) + "_11_10_proc_root\",\"type\":\"bar\",\"class\":\"ctr:\","
               "\"show\":0,\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},\"data\":[" + points + "]}";
    };
    const std::string shell = "10 - shell", worker = "11 - worker", tree = "11_10_proc_root";
    EXPECT_EQ(r.output,
              document(busy(0, "[1.600000,1],[2.000000,0]") + busy(1, "[1.200000,1],[1.400000,0]") +
                       busy(2, "[2.000000,1]") +
                       // The idle task, named after the kernel's process entry.
                       running("0", "0 - kernel", "0_proc_root", 1, "[1.400000, 1]") +
                       // The parent: its counter series hold only zeros and write nothing.
                       running("10", shell, "10_proc_root", 0, "[1.800000, 1],[2.000000, 0]") +
                       running("10", shell, "10_proc_root", 2, "[2.000000, 1]") +
                       // The thread, renamed, with its creator as parent.
                       running("11", worker, tree, 0, "[1.600000, 1],[1.800000, 0]") +
                       running("11", worker, tree, 1, "[1.200000, 1],[1.400000, 0]") +
                       waiting("11", worker, tree, true, "[1.400000,1],[1.500000,0]") +
                       waiting("11", worker, tree, false, "[1.100000,1],[1.200000,0],[1.500000,1],[1.600000,0]") +
                       counter(0, "[1.600000,700],[1.800000,0]") + counter(1, "[1.600000,1],[1.800000,0]") +
                       counter(2, "[1.600000,2],[1.800000,0]") + counter(3, "[1.600000,3],[1.800000,0]") +
                       counter(4, "[1.600000,4],[1.800000,0]")));

    // Every task that switched in has a running entry on each CPU it ran on.
    const std::set<std::string> ids = entryIds(r.output);
    for (const char* id : {"proc-0-r1", "proc-11-r1", "proc-11-r0", "proc-10-r0", "proc-10-r2"})
        EXPECT_EQ(ids.count(id), 1u) << id;
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
    EXPECT_EQ(r.output, document(busy(3, "[1000000.700000,1]") +
                                 waiting("20", "20 - ", "20_proc_root", true, "[1000000.700000,1]") +
                                 running("21", "21 - t", "21_20_proc_root", 3, "[1000000.700000, 1]") +
                                 waiting("21", "21 - t", "21_20_proc_root", false, "[1000000.600000,1],[1000000.700000,0]")));
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
    run.input(withEventTable().tracepoint(0, 0, 0, at(5), 1, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 40), true)));
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
    const std::set<std::string> ids = entryIds(r.output);
    for (auto [pid, cpu] : ran)
        EXPECT_EQ(ids.count("proc-" + std::to_string(pid) + "-r" + std::to_string(cpu)), 1u) << pid << " on " << cpu;
}

}  // namespace
