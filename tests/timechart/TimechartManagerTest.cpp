#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CPUChart.h"
#include "ProcessChart.h"
#include "TimechartFixture.h"

namespace {

class TimechartManagerTest : public TimechartFixture {};

TEST_F(TimechartManagerTest, HandOverStateStartsAtZero)
{
    for (int cpu = 0; cpu < TimechartManager::kCpus; cpu++) {
        EXPECT_EQ(manager()._lastPid[cpu], 0);
        EXPECT_EQ(manager().getLastStateForCPU(cpu), 0);
        EXPECT_FALSE(manager()._counterStarted[cpu]);
    }
}

TEST_F(TimechartManagerTest, MigrationLooksAtOtherCpusLowestFirst)
{
    EXPECT_EQ(manager().pidMigratedFrom(0, 3), 0);  // every CPU starts with pid 0
    manager().setLastPidForCpu(77, 5);
    manager().setLastPidForCpu(77, 2);
    EXPECT_EQ(manager().pidMigratedFrom(77, 7), 2);
    EXPECT_EQ(manager().pidMigratedFrom(77, 2), 5);
    manager().setLastPidForCpu(78, 5);
    EXPECT_EQ(manager().pidMigratedFrom(78, 5), -1);
    EXPECT_EQ(manager().pidMigratedFrom(79, 0), -1);
}

TEST_F(TimechartManagerTest, CpuBeyondTheTablesIsDroppedEverywhere)
{
    manager().setLastPidForCpu(77, 3);
    for (int cpu : {16, 17, 1000, -1}) {
        manager().setLastPidForCpu(5, cpu);
        EXPECT_EQ(manager().pidMigratedFrom(77, cpu), -1);
        manager().saveLastStateForCPU(cpu);
        EXPECT_EQ(manager().getLastStateForCPU(cpu), 0);
        EXPECT_FALSE(manager().addValueToCPUChart(1, cpu, 40, 1));
        EXPECT_FALSE(manager().addStatusToProcessChart(1, 7302, 0, cpu, 0));
        unsigned int l1[4] = {1, 2, 3, 4};
        unsigned int l2[2] = {5, 6};
        EXPECT_FALSE(manager().addCountersToProcessChart(1, cpu, 7302, 9, l1, l2));
    }
    EXPECT_TRUE(manager()._cpuCharts.empty());
    EXPECT_TRUE(manager()._processCharts.empty());
    for (int cpu = 0; cpu < TimechartManager::kCpus; cpu++)
        EXPECT_EQ(manager()._lastPid[cpu], cpu == 3 ? 77 : 0);
}

TEST_F(TimechartManagerTest, FirstCounterSampleOfEachCpuIsDropped)
{
    unsigned int l1[4] = {1, 2, 3, 4};
    unsigned int l2[2] = {5, 6};
    EXPECT_TRUE(manager().addCountersToProcessChart(1, 0, 7305, 10, l1, l2));  // dropped, chart made
    EXPECT_FALSE(manager().addCountersToProcessChart(2, 0, 7305, 11, l1, l2));
    EXPECT_TRUE(manager().addCountersToProcessChart(3, 1, 7306, 12, l1, l2));   // CPU 1's first: dropped
    EXPECT_FALSE(manager().addCountersToProcessChart(4, 1, 7305, 13, l1, l2));  // another task, same CPU
    const ProcessChart* first = manager().getProcessChart(7305);
    const ProcessChart* second = manager().getProcessChart(7306);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    ASSERT_EQ(first->_cycleCounter.size(), 2u);
    EXPECT_EQ(first->_cycleCounter[0].value, 11u);
    EXPECT_EQ(first->_cycleCounter[1].value, 13u);
    EXPECT_EQ(first->_l2Counters[1].size(), 2u);
    EXPECT_TRUE(second->_cycleCounter.empty());
}

TEST_F(TimechartManagerTest, WeakNameStandsUntilForced)
{
    manager().setProcessName(7307, "first", false);
    manager().setProcessName(7307, "second", false);
    EXPECT_EQ(manager().getProcessChart(7307)->_name, "first");
    manager().setProcessName(7307, "forced", true);
    EXPECT_EQ(manager().getProcessChart(7307)->_name, "forced");
    manager().setProcessName(7308, "", false);
    manager().setProcessName(7308, "later", false);  // an empty name counts as none
    EXPECT_EQ(manager().getProcessChart(7308)->_name, "later");
    manager().setProcessPPid(7309, 12);
    manager().setProcessPPid(7309, 13);
    EXPECT_EQ(manager().getProcessChart(7309)->_ppid, 13);
}

TEST_F(TimechartManagerTest, BusyStateIsSavedOnlyFromAnExistingChart)
{
    manager().saveLastStateForCPU(2);
    EXPECT_EQ(manager().getCPUChart(2), nullptr);
    manager().addValueToCPUChart(1, 2, 40, 1);
    manager().saveLastStateForCPU(2);
    EXPECT_EQ(manager().getLastStateForCPU(2), 1);
    manager().addValueToCPUChart(2, 2, 40, 0);
    EXPECT_EQ(manager().getLastStateForCPU(2), 1);
}

TEST_F(TimechartManagerTest, InterruptNamesKeepTheFirstAndReportMisses)
{
    manager().addIrqName(999, "timer");
    manager().addIrqName(999, "other");
    manager().addSirqName(0, "HI");
    EXPECT_EQ(manager().getIRQName(999), "timer");
    EXPECT_EQ(manager().getIRQName(1000), "HI");
    testing::internal::CaptureStdout();
    EXPECT_EQ(manager().getIRQName(1001), "IRQ");
    EXPECT_EQ(manager().getIRQName(0), "IRQ");
    manager().outIrqNames();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "IRQ name not found: 1001\nIRQ name not found: 0\n999:\t timer\n");
}

TEST_F(TimechartManagerTest, CounterNamesByGroupAndIndex)
{
    manager()._cycleCounterName = "cyc";
    manager()._l1CounterNames[3] = "l1d";
    manager()._l2CounterNames[1] = "l2";
    EXPECT_EQ(manager().getCounterName(0, 9), "cyc");
    EXPECT_EQ(manager().getCounterName(1, 3), "l1d");
    EXPECT_EQ(manager().getCounterName(2, 1), "l2");
    EXPECT_EQ(manager().getCounterName(1, 4), "");
    EXPECT_EQ(manager().getCounterName(2, 2), "");
    EXPECT_EQ(manager().getCounterName(3, 0), "");
}

// Rows ascend by parent pid; within one parent, by pid.
TEST_F(TimechartManagerTest, ProcessRowsFollowTheParentPid)
{
    manager().setProcessPPid(7300, 1);
    manager().setProcessPPid(7200, 150);
    manager().setProcessPPid(7250, 1);
    manager().setProcessPPid(7260, -3);
    for (int pid : {7300, 7200, 7250, 7260})
        manager().addStatusToProcessChart(1000000000, pid, 2, 0, 0);
    const std::string text = entriesOf([&](PerfJSONWriter& w) { manager().outProcessCharts(w); });
    std::vector<size_t> at;
    for (const char* id : {"proc-7260-w", "proc-7250-w", "proc-7300-w", "proc-7200-w"})
        at.push_back(text.find(id));
    for (size_t i = 0; i < at.size(); i++) {
        ASSERT_NE(at[i], std::string::npos) << i;
        if (i > 0) {
            EXPECT_LT(at[i - 1], at[i]);
        }
    }
}

}  // namespace
