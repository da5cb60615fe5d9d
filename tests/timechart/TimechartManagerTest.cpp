#include <gtest/gtest.h>

#include <string>

#include "CPUChart.h"
#include "ProcessChart.h"
#include "TimechartFixture.h"

namespace {

class TimechartManagerTest : public TimechartFixture {};

// The hand-over state of each CPU: the last pid, where migrations look at
// the other CPUs lowest first, and the busy state, which starts at zero and
// is saved only from an existing chart (saving makes none). A CPU beyond the
// tables has no place in them, but its charts are made and a migration to it
// still finds the task's last CPU.
TEST_F(TimechartManagerTest, HandOverStateOfEachCpu)
{
    EXPECT_EQ(manager().pidMigratedFrom(0, 3), 0);  // every CPU starts with pid 0
    manager().setLastPidForCpu(77, 5);
    manager().setLastPidForCpu(77, 2);
    EXPECT_EQ(manager().pidMigratedFrom(77, 7), 2);
    EXPECT_EQ(manager().pidMigratedFrom(77, 2), 5);
    manager().setLastPidForCpu(78, 5);
    EXPECT_EQ(manager().pidMigratedFrom(78, 5), -1);
    EXPECT_EQ(manager().pidMigratedFrom(79, 0), -1);

    manager().saveLastStateForCPU(2);
    EXPECT_EQ(manager().getCPUChart(2), nullptr);
    EXPECT_EQ(manager().getLastStateForCPU(2), 0);
    manager().addValueToCPUChart(1, 2, 40, 1);
    manager().saveLastStateForCPU(2);
    EXPECT_EQ(manager().getLastStateForCPU(2), 1);
    manager().addValueToCPUChart(2, 2, 40, 0);
    EXPECT_EQ(manager().getLastStateForCPU(2), 1);

    unsigned int l1[4] = {1, 2, 3, 4}, l2[2] = {5, 6};
    for (int cpu : {16, 17, 1000, -1}) {
        manager().setLastPidForCpu(5, cpu);
        EXPECT_EQ(manager().pidMigratedFrom(77, cpu), 2);
        EXPECT_TRUE(manager().addValueToCPUChart(1, cpu, 40, 1));
        manager().saveLastStateForCPU(cpu);
        EXPECT_EQ(manager().getLastStateForCPU(cpu), 0);
        EXPECT_EQ(manager().addStatusToProcessChart(1, 7302, 0, cpu, 0), cpu == 16);
        EXPECT_FALSE(manager().addCountersToProcessChart(2, cpu, 7302, 9, l1, l2));
        EXPECT_FALSE(manager().addCountersToProcessChart(3, cpu, 7302, 9, l1, l2));
    }
    EXPECT_EQ(manager()._cpuCharts.size(), 5u);
    EXPECT_TRUE(manager().getProcessChart(7302)->_cycleCounter.empty());
    for (int cpu = 0; cpu < TimechartManager::kCpus; cpu++)
        EXPECT_EQ(manager()._lastPid[cpu], cpu == 2 ? 77 : cpu == 5 ? 78 : 0) << cpu;
}

// The first counter sample of each CPU, whichever task it belongs to, is
// dropped; its task still gets a chart.
TEST_F(TimechartManagerTest, FirstCounterSampleOfEachCpuIsDropped)
{
    unsigned int l1[4] = {1, 2, 3, 4}, l2[2] = {5, 6};
    EXPECT_TRUE(manager().addCountersToProcessChart(1, 0, 7305, 10, l1, l2));
    EXPECT_FALSE(manager().addCountersToProcessChart(2, 0, 7305, 11, l1, l2));
    EXPECT_TRUE(manager().addCountersToProcessChart(3, 1, 7306, 12, l1, l2));
    EXPECT_FALSE(manager().addCountersToProcessChart(4, 1, 7305, 13, l1, l2));  // another task, same CPU
    ASSERT_NE(manager().getProcessChart(7306), nullptr);
    EXPECT_TRUE(manager().getProcessChart(7306)->_cycleCounter.empty());
    const ProcessChart& first = *manager().getProcessChart(7305);
    EXPECT_EQ(samples(first._cycleCounter), "0:11 0:13");
    EXPECT_EQ(first._l2Counters[1].size(), 2u);
}

// A weak process name stands only over none, and an empty name counts as none.
TEST_F(TimechartManagerTest, ProcessInterruptAndCounterNames)
{
    manager().setProcessName(7308, "", false);
    manager().setProcessName(7308, "later", false);
    EXPECT_EQ(manager().getProcessChart(7308)->_name, "later");
    manager().addIrqName(999, "timer");
    manager().addIrqName(999, "other");
    manager().addSirqName(0, "HI");
    EXPECT_EQ(manager().getIRQName(999), "timer");
    EXPECT_EQ(manager().getIRQName(1000), "HI");
    EXPECT_EQ(manager().getIRQName(1001), "IRQ");
    EXPECT_EQ(manager().getIRQName(0), "IRQ");
    // Each group and index has its own name; indexes beyond a group name nothing.
    manager()._cycleCounterName = "cycles";
    const char* l1[4] = {"l1a", "l1b", "l1c", "l1d"};
    const char* l2[2] = {"l2a", "l2b"};
    for (unsigned int i = 0; i < 4; i++)
        manager()._l1CounterNames[i] = l1[i];
    for (unsigned int i = 0; i < 2; i++)
        manager()._l2CounterNames[i] = l2[i];
    EXPECT_EQ(manager().getCounterName(0, 3), "cycles");
    for (unsigned int i = 0; i < 4; i++)
        EXPECT_EQ(manager().getCounterName(1, i), l1[i]);
    for (unsigned int i = 0; i < 2; i++)
        EXPECT_EQ(manager().getCounterName(2, i), l2[i]);
    EXPECT_EQ(manager().getCounterName(1, 4), "");
    EXPECT_EQ(manager().getCounterName(2, 2), "");
    EXPECT_EQ(manager().getCounterName(3, 0), "");
}

// Rows ascend by parent pid; within one parent, by pid.
TEST_F(TimechartManagerTest, ProcessRowsFollowTheParentPid)
{
    for (auto [pid, ppid] : {std::pair{7300, 1}, {7200, 150}, {7250, 1}, {7260, -3}}) {
        manager().setProcessPPid(pid, ppid);
        manager().addStatusToProcessChart(1000000000, pid, 2, 0, 0);
    }
    const std::string text = entriesOf([&](PerfJSONWriter& w) { manager().outProcessCharts(w); });
    size_t last = 0;
    for (const char* id : {"proc-7260-w", "proc-7250-w", "proc-7300-w", "proc-7200-w"}) {
        const size_t at = text.find(id);
        ASSERT_NE(at, std::string::npos) << id;
        EXPECT_GT(at, last) << id;
        last = at;
    }
}

}  // namespace
