#include <gtest/gtest.h>

#include <string>

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

// A raw area of the 3.10 layout.
std::string raw(uint16_t type, const std::string& body)
{
    return B::rawArea(type, body, true);
}

class SchedulerDecoders : public EventWalk {
protected:
    void SetUp() override
    {
        EventWalk::SetUp();
        kern_ver = 310;
    }
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

// One switch from 8411 in a previous state to 8412 on CPU 3, laid out for
// kern_ver and ARM64 as given; only uninterruptible sleep (bit 2) shows as
// waiting for I/O. A 64-bit layout always has the short common header.
TEST_F(SchedulerDecoders, SwitchStatesAndLayouts)
{
    const struct {
        int version;
        bool wide;
        uint32_t state;
        bool io;
    } cases[] = {{310, false, 0, false}, {310, false, 1, false},         {310, false, 2, true}, {310, false, 3, true},
                 {310, false, 130, true}, {310, false, 0x80000000u, false}, {304, false, 2, true}, {309, false, 2, true},
                 {418, false, 2, true},   {309, true, 2, true},             {510, true, 2, true}};
    for (const auto& c : cases) {
        TimechartManager::discardInstance();
        kern_ver = c.version;
        is64 = c.wide;
        const std::string body = c.wide ? payload::schedSwitch64(8411, c.state, 8412)
                                        : payload::schedSwitch(8411, c.state, 8412);
        walk(withEventTable().tracepoint(0, 8411, 8411, 2000000000, 3,
                                         B::rawArea(kSwitch, body, c.wide || c.version >= 310)));
        SCOPED_TRACE(std::to_string(c.version) + (c.wide ? " wide " : " ") + std::to_string(c.state));
        EXPECT_EQ(samples(process(8412)._running[3]), "20:1");
        EXPECT_EQ(samples(process(8411)._running[3]), "20:0");
        EXPECT_EQ(samples(process(8411)._waitIo), c.io ? "20:1" : "20:0");
        EXPECT_EQ(busy(3), "20:1");
    }
}

// A task that left CPU 0 through its own switch has not migrated from it.
// A switch to the idle task looks for no migration, but the idle task's own
// chart still gives the lowest other CPU that last ran it a 0.
TEST_F(SchedulerDecoders, MigrationsAndTheIdleTask)
{
    B b = withEventTable();
    at(b, 10, 0, raw(kSwitch, payload::schedSwitch(0, 0, 8422)));
    at(b, 15, 0, raw(kSwitch, payload::schedSwitch(8422, 1, 0)));
    at(b, 20, 2, raw(kSwitch, payload::schedSwitch(0, 0, 8422)));
    at(b, 30, 1, raw(kSwitch, payload::schedSwitch(8431, 0, 0)));
    walk(b);
    EXPECT_EQ(samples(process(8422)._running[0]), "10:1 15:0");
    EXPECT_EQ(samples(process(8422)._running[2]), "20:1");
    EXPECT_EQ(busy(0), "10:1 15:0");
    EXPECT_EQ(busy(2), "20:1");
    EXPECT_EQ(busy(1), "30:0");
    EXPECT_EQ(samples(process(0)._running[1]), "15:0 30:1");
    EXPECT_EQ(samples(process(0)._running[0]), "10:0 15:1 30:0");
}

// A new thread takes its creator as parent; other tasks keep their own pid.
// Names from new tasks are weak, and a rename wins in either order.
TEST_F(SchedulerDecoders, NewTasksAndRenames)
{
    B b = withEventTable();
    at(b, 10, 0, raw(kNewtask, payload::taskNewtask(8461, "worker", payload::kCloneThread | 0x100)), 8460);
    at(b, 10, 0, raw(kNewtask, payload::taskNewtask(8462, "child", 0x100)), 8460);
    at(b, 10, 0, raw(kNewtask, payload::taskNewtask(8462, "again", 0)), 8460);
    at(b, 11, 0, raw(kRename, payload::taskRename(8461, "worker", "renamed")));
    at(b, 12, 0, raw(kRename, payload::taskRename(8482, "a", "first")));
    at(b, 13, 0, raw(kNewtask, payload::taskNewtask(8482, "late", 0)));
    walk(b);
    EXPECT_EQ(process(8461)._ppid, 8460);
    EXPECT_EQ(process(8461)._name, "renamed");
    EXPECT_EQ(process(8462)._ppid, 8462);
    EXPECT_EQ(process(8462)._name, "child");
    EXPECT_EQ(process(8482)._name, "first");
}

// The counter event has one layout, whose start follows kern_ver even with
// ARM64. The first sample on CPU 1 is dropped; its incoming half (zeros) is kept.
TEST_F(SchedulerDecoders, CountersCloseTheOutgoingSpanAndOpenTheIncomingAtZero)
{
    kern_ver = 309;
    is64 = true;
    B b = withEventTable();
    at(b, 10, 1, B::rawArea(kCounters, payload::switchWithCounters(8491, 8492, 100, {1, 2, 3, 4}, {5, 6})));
    at(b, 20, 1, B::rawArea(kCounters, payload::switchWithCounters(8492, 8491, 200, {7, 8, 9, 10}, {11, 12})));
    walk(b);
    EXPECT_EQ(samples(process(8491)._cycleCounter), "20:0");
    EXPECT_EQ(samples(process(8492)._cycleCounter), "10:0 20:200");
    EXPECT_EQ(samples(process(8492)._l1Counters[3]), "10:0 20:10");
    EXPECT_EQ(samples(process(8492)._l2Counters[1]), "10:0 20:12");
}

// With ARM64 the new task's clone flags are read from the wider layout.
TEST_F(SchedulerDecoders, WideNewTask)
{
    is64 = true;
    B b = withEventTable();
    at(b, 10, 0, raw(kNewtask, payload::taskNewtask64(8495, "n", payload::kCloneThread)), 8494);
    walk(b);
    EXPECT_EQ(process(8495)._ppid, 8494);
}

}  // namespace
