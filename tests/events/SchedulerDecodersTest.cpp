#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "CPUChart.h"
#include "EventWalk.h"
#include "ProcessChart.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

namespace {

enum : uint16_t { kSwitch = 300, kWakeup, kWakeupNew, kNewtask, kRename, kCounters };

B withEventTable()
{
    return B()
        .eventType(kSwitch, "sched:sched_switch")
        .eventType(kWakeup, "sched:sched_wakeup")
        .eventType(kWakeupNew, "sched:sched_wakeup_new")
        .eventType(kNewtask, "task:task_newtask")
        .eventType(kRename, "task:task_rename")
        .eventType(kCounters, "perf_trace_counters:sched_switch_with_ctrs");
}

std::string samples(const std::vector<ChartEntryS>& series)
{
    std::string out;
    for (const ChartEntryS& s : series)
        out += (out.empty() ? "" : " ") + std::to_string((int)(s.time * 10)) + ":" + std::to_string(s.value);
    return out;
}

class SchedulerDecoders : public EventWalk {
protected:
    ProcessChart& process(int pid)
    {
        ProcessChart* chart = manager().getProcessChart(pid);
        EXPECT_NE(chart, nullptr) << pid;
        static ProcessChart none(-1);
        return chart != nullptr ? *chart : none;
    }
    std::string busy(int cpu)
    {
        CPUChart* chart = manager().getCPUChart(cpu);
        return chart != nullptr ? samples(chart->_busy) : "none";
    }
};

// prev_state of the task switched out, and whether it shows as waiting for I/O.
class PreviousState : public SchedulerDecoders, public testing::WithParamInterface<std::tuple<uint32_t, bool>> {};

TEST_P(PreviousState, OnlyUninterruptibleSleepIsToldApart)
{
    auto [state, io] = GetParam();
    kern_ver = 310;
    walk(withEventTable().tracepoint(0, 8401, 8401, 1000000000, 1,
                                     B::rawArea(kSwitch, payload::schedSwitch(8401, state, 8402), true)));
    EXPECT_EQ(samples(process(8401)._waitIo), io ? "10:1" : "10:0");
    EXPECT_EQ(samples(process(8401)._running[1]), "10:0");
    EXPECT_EQ(samples(process(8402)._running[1]), "10:1");
}

INSTANTIATE_TEST_SUITE_P(States, PreviousState,
                         testing::Values(std::make_tuple(0u, false), std::make_tuple(1u, false),
                                         std::make_tuple(2u, true), std::make_tuple(3u, true),
                                         std::make_tuple(130u, true), std::make_tuple(0x80000000u, false)));

// kern_ver, ARM64, and whether the switch is laid out for a 64-bit kernel.
class SwitchLayouts : public SchedulerDecoders, public testing::WithParamInterface<std::tuple<int, bool>> {};

TEST_P(SwitchLayouts, FieldsAreFoundInEveryLayout)
{
    auto [version, wide] = GetParam();
    kern_ver = version;
    is64 = wide;
    // A 64-bit layout always has the short common header, whatever kern_ver says.
    const bool shortHeader = wide || version >= 310;
    const std::string body = wide ? payload::schedSwitch64(8411, 2, 8412) : payload::schedSwitch(8411, 2, 8412);
    walk(withEventTable().tracepoint(0, 8411, 8411, 2000000000, 3, B::rawArea(kSwitch, body, shortHeader)));
    EXPECT_EQ(samples(process(8412)._running[3]), "20:1");
    EXPECT_EQ(samples(process(8411)._waitIo), "20:1");
    EXPECT_EQ(busy(3), "20:1");
}

INSTANTIATE_TEST_SUITE_P(KernelsAndWidths, SwitchLayouts,
                         testing::Values(std::make_tuple(304, false), std::make_tuple(309, false),
                                         std::make_tuple(310, false), std::make_tuple(418, false),
                                         std::make_tuple(309, true), std::make_tuple(510, true)));

TEST_F(SchedulerDecoders, TaskLeftThroughItsOwnSwitchIsNotAMigration)
{
    kern_ver = 310;
    walk(withEventTable()
             .tracepoint(0, 0, 0, 1000000000, 0, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 8422), true))
             .tracepoint(0, 8422, 8422, 1500000000, 0, B::rawArea(kSwitch, payload::schedSwitch(8422, 1, 0), true))
             .tracepoint(0, 0, 0, 2000000000, 2, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 8422), true)));
    EXPECT_EQ(samples(process(8422)._running[0]), "10:1 15:0");
    EXPECT_EQ(samples(process(8422)._running[2]), "20:1");
    EXPECT_EQ(busy(0), "10:1 15:0");
    EXPECT_EQ(busy(2), "20:1");
}

TEST_F(SchedulerDecoders, SwitchToTheIdleTaskLooksForNoMigration)
{
    kern_ver = 310;
    // Every CPU starts with pid 0 as its last task; the idle task's own row on
    // CPU 0 still gets the 0 of a "migration" through its chart.
    walk(withEventTable().tracepoint(0, 8431, 8431, 1000000000, 1,
                                     B::rawArea(kSwitch, payload::schedSwitch(8431, 0, 0), true)));
    EXPECT_EQ(busy(1), "10:0");
    EXPECT_EQ(busy(0), "none");
    EXPECT_EQ(samples(process(0)._running[1]), "10:1");
    EXPECT_EQ(samples(process(0)._running[0]), "10:0");
}

TEST_F(SchedulerDecoders, SwitchOnACpuBeyondTheTablesIsDropped)
{
    kern_ver = 310;
    walk(withEventTable()
             .tracepoint(0, 0, 0, 1000000000, 0, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 8441), true))
             .tracepoint(0, 0, 0, 2000000000, 16, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 8441), true))
             .tracepoint(0, 0, 0, 2000000000, 0xFFFFFFFFu, B::rawArea(kSwitch, payload::schedSwitch(0, 0, 8441), true)));
    EXPECT_EQ(samples(process(8441)._running[0]), "10:1");
    EXPECT_EQ(busy(0), "10:1");
    EXPECT_EQ(busy(16), "none");
    EXPECT_EQ(manager()._cpuCharts.size(), 1u);
}

TEST_F(SchedulerDecoders, NewThreadTakesItsCreatorAsParentAndNamesAreWeak)
{
    kern_ver = 310;
    walk(withEventTable()
             .tracepoint(0, 8460, 8460, 1000000000, 0,
                         B::rawArea(kNewtask, payload::taskNewtask(8461, "worker", payload::kCloneThread | 0x100), true))
             .tracepoint(0, 8460, 8460, 1000000000, 0,
                         B::rawArea(kNewtask, payload::taskNewtask(8462, "child", 0x100), true))
             .tracepoint(0, 8460, 8460, 1000000000, 0,
                         B::rawArea(kNewtask, payload::taskNewtask(8462, "again", 0), true)));
    EXPECT_EQ(process(8461)._ppid, 8460);
    EXPECT_EQ(process(8461)._name, "worker");
    EXPECT_EQ(process(8462)._ppid, 8462);
    EXPECT_EQ(process(8462)._name, "child");
}

TEST_F(SchedulerDecoders, RenameWinsInEitherOrder)
{
    kern_ver = 310;
    walk(withEventTable()
             .tracepoint(0, 1, 1, 1000000000, 0, B::rawArea(kNewtask, payload::taskNewtask(8481, "new", 0), true))
             .tracepoint(0, 1, 1, 1100000000, 0, B::rawArea(kRename, payload::taskRename(8481, "new", "renamed"), true))
             .tracepoint(0, 1, 1, 1200000000, 0, B::rawArea(kRename, payload::taskRename(8482, "a", "first"), true))
             .tracepoint(0, 1, 1, 1300000000, 0, B::rawArea(kNewtask, payload::taskNewtask(8482, "late", 0), true)));
    EXPECT_EQ(process(8481)._name, "renamed");
    EXPECT_EQ(process(8482)._name, "first");
}

TEST_F(SchedulerDecoders, CountersCloseTheOutgoingSpanAndOpenTheIncomingAtZero)
{
    kern_ver = 309;
    is64 = true;  // the counter event has one layout, whose start follows kern_ver
    walk(withEventTable()
             .tracepoint(0, 1, 1, 1000000000, 1,
                         B::rawArea(kCounters, payload::switchWithCounters(8491, 8492, 100, {1, 2, 3, 4}, {5, 6})))
             .tracepoint(0, 1, 1, 2000000000, 1,
                         B::rawArea(kCounters, payload::switchWithCounters(8492, 8491, 200, {7, 8, 9, 10}, {11, 12}))));
    // The first sample on CPU 1 is dropped; its incoming half (zeros) is kept.
    EXPECT_EQ(samples(process(8491)._cycleCounter), "20:0");
    EXPECT_EQ(samples(process(8492)._cycleCounter), "10:0 20:200");
    EXPECT_EQ(samples(process(8492)._l1Counters[3]), "10:0 20:10");
    EXPECT_EQ(samples(process(8492)._l2Counters[1]), "10:0 20:12");
}

TEST_F(SchedulerDecoders, VerboseRunNamesTheTaskDecoders)
{
    kern_ver = 310;
    is64 = true;
    gVerbosity = 1;
    testing::internal::CaptureStdout();
    walk(withEventTable()
             .tracepoint(0, 1, 1, 1000000000, 0, B::rawArea(kNewtask, payload::taskNewtask64(8495, "n", 0), true))
             .tracepoint(0, 1, 1, 1000000000, 0, B::rawArea(kRename, payload::taskRename(8495, "n", "m"), true)));
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("PRSE: Found task_newtask_64\n"), std::string::npos);
    EXPECT_NE(out.find("PRSE: Found task_rename\n"), std::string::npos);
    EXPECT_NE(out.find("findFunction64 cmp task:task_newtask:task:task_newtask\n"), std::string::npos);
}

}  // namespace
