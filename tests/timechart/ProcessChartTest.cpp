#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "ProcessChart.h"
#include "TimechartFixture.h"

namespace {

// Pids no other test gives a COMM record, so the charts start without name or parent.
const int kPid = 7301;

// The samples of one series as "time:value" items.
std::string samples(const std::vector<ChartEntryS>& series)
{
    std::string out;
    for (const ChartEntryS& s : series)
        out += (out.empty() ? "" : " ") + std::to_string((int)(s.time * 10)) + ":" + std::to_string(s.value);
    return out;
}

// Every non-empty series of a chart, named r<cpu>, w (CPU), d (I/O), g (GPU), i<kind>.
std::string series(const ProcessChart& chart)
{
    std::string out;
    auto add = [&out](const std::string& name, const std::vector<ChartEntryS>& s) {
        if (!s.empty())
            out += (out.empty() ? "" : "; ") + name + "=" + samples(s);
    };
    for (unsigned int cpu = 0; cpu < ProcessChart::kCpus; cpu++)
        add("r" + std::to_string(cpu), chart._running[cpu]);
    add("w", chart._waitCpu);
    add("d", chart._waitIo);
    add("g", chart._waitGpu);
    for (unsigned int k = 0; k < ProcessChart::kIssueKinds; k++)
        add("i" + std::to_string(k), chart._issue[k]);
    return out;
}

class ProcessChartTest : public TimechartFixture {};

// status, sub, the series written (times in tenths of a second)
class StatusSamples : public ProcessChartTest,
                      public testing::WithParamInterface<std::tuple<unsigned int, unsigned int, std::string>> {};

TEST_P(StatusSamples, EachStatusWritesItsSeries)
{
    auto [status, sub, expected] = GetParam();
    ProcessChart chart(kPid);
    chart.addStatus(ns(1.5), status, 2, sub);
    EXPECT_EQ(series(chart), expected);
}

INSTANTIATE_TEST_SUITE_P(
    AllStatuses, StatusSamples,
    testing::Values(std::make_tuple(0u, 0u, "r2=15:1; w=15:0; d=15:0"),
                    std::make_tuple(1u, 0u, "r2=15:0; w=15:0; d=15:1"),
                    std::make_tuple(2u, 0u, "r2=15:0; w=15:1; d=15:0"),
                    std::make_tuple(3u, 0u, "r2=15:0; w=15:0; d=15:0"),
                    std::make_tuple(2u, 1u, "r2=15:0; w=15:1; d=15:0"),  // sub only matters for issues
                    std::make_tuple(4u, 1u, "g=15:1"), std::make_tuple(5u, 0u, "g=15:0"),
                    std::make_tuple(10u, 0u, "i0=15:1"), std::make_tuple(11u, 1u, "i1=15:2"),
                    std::make_tuple(12u, 2u, "i2=15:1"), std::make_tuple(13u, 1u, "i3=15:2"),
                    std::make_tuple(6u, 0u, ""), std::make_tuple(9u, 1u, ""), std::make_tuple(14u, 1u, "")));

TEST_F(ProcessChartTest, SwitchInClosesTheRowOfTheCpuStillHoldingTheTask)
{
    manager().setLastPidForCpu(kPid, 5);
    manager().setLastPidForCpu(kPid, 3);
    ProcessChart chart(kPid);
    chart.addStatus(ns(2.0), 0, 7, 0);
    EXPECT_EQ(series(chart), "r3=20:0; r7=20:1; w=20:0; d=20:0");
    // Asked from a CPU that holds the task itself, nothing else is closed.
    ProcessChart other(kPid + 1);
    manager().setLastPidForCpu(kPid + 1, 4);
    other.addStatus(ns(2.0), 0, 4, 0);
    EXPECT_EQ(series(other), "r4=20:1; w=20:0; d=20:0");
}

TEST_F(ProcessChartTest, CpuBeyondTheTablesIsDropped)
{
    ProcessChart chart(kPid);
    for (unsigned int status = 0; status < 4; status++) {
        chart.addStatus(ns(1.0), status, 16, 0);
        chart.addStatus(ns(1.0), status, 0xFFFFFFFFu, 0);
    }
    EXPECT_EQ(series(chart), "");
    // Statuses that name no CPU do not look at it.
    chart.addStatus(ns(1.0), 4, 99, 0);
    EXPECT_EQ(series(chart), "g=10:1");
}

TEST_F(ProcessChartTest, WindowOfStartAndStopKeepsItsLimits)
{
    gSelectiveProcessing = true;
    gtodAtStart = 2.0;
    gtodAtStop = 3.0;
    ProcessChart chart(kPid);
    for (double t : {1.9, 2.0, 2.5, 3.0, 3.1})
        chart.addStatus(ns(t), 4, 0, 0);
    // Kept samples are relative to the start.
    EXPECT_EQ(series(chart), "g=0:1 5:1 10:1");
}

TEST_F(ProcessChartTest, WritesRunningAndWaitRowsChangeOnly)
{
    ProcessChart chart(kPid);
    chart.addStatus(ns(2.5), 2, 0, 0);  // woken: CPU 0's row gets a leading 0
    chart.addStatus(ns(1.5), 0, 1, 0);  // added out of order: sorted at output
    chart.addStatus(ns(2.0), 3, 1, 0);
    chart.addStatus(ns(3.0), 0, 0, 0);
    chart.addStatus(ns(3.5), 0, 0, 0);  // a second 1 in a row writes nothing
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outProcessChart(w); }),
              "\n{\"id\":\"proc-7301-r0\",\"name\":\"7301 - \",\"treeId\":\"7301_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 0\","
              "\"hints\":{\"white\":\"#000000\",\"black\":\"#ffffff\"},\"data\":[[3.000000, 1]]}"
              "\n,{\"id\":\"proc-7301-r1\",\"name\":\"7301 - \",\"treeId\":\"7301_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 1\","
              "\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"},\"data\":[[1.500000, 1],[2.000000, 0]]}"
              "\n,{\"id\":\"proc-7301-w\",\"name\":\"7301 - \",\"treeId\":\"7301_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:wait\",\"tip\":\"Waiting for CPU\",\"show\":0,"
              "\"hints\":{\"white\":\"#f0c44c\",\"black\":\"#f0e68c\"},\"data\":[[2.500000,1],[3.000000,0]]}");
}

TEST_F(ProcessChartTest, GpuWaitOfZerosStillWritesItsEntryAndIssuesShowTheChart)
{
    ProcessChart chart(kPid);
    chart._name = "gl";
    chart._ppid = 1;
    chart.addStatus(ns(1.0), 5, 0, 0);
    chart.addStatus(ns(1.25), 12, 0, 1);
    chart.addStatus(ns(1.5), 12, 0, 1);
    chart.addStatus(ns(1.0), 1, 4, 0);  // I/O wait on CPU 4: its running row holds only a zero
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outProcessChart(w); }),
              "\n{\"id\":\"proc-7301-d\",\"name\":\"7301 - gl\",\"treeId\":\"7301_1_proc_root\",\"type\":\"binary\","
              "\"class\":\"proc:wait\",\"tip\":\"Waiting for I/O\",\"show\":1,"
              "\"hints\":{\"white\":\"#b0e0e6\",\"black\":\"#b0e0e6\"},\"data\":[[1.000000,1]]}"
              "\n,{\"id\":\"proc-7301-g\",\"name\":\"7301 - gl\",\"treeId\":\"7301_1_proc_root\",\"type\":\"binary\","
              "\"tip\":\"Waiting for GPU\",\"class\":\"proc:wait\",\"show\":1,"
              "\"hints\":{\"white\":\"#db7093\",\"black\":\"#db7093\"},\"data\":[]}"
              "\n,{\"id\":\"proc-7301-i2\",\"name\":\"7301 - gl\",\"treeId\":\"7301_1_proc_root\",\"type\":\"marker\","
              "\"class\":\"proc:issue\",\"show\":1,\"tip\":\"CL Issue\","
              "\"hints\":{\"white\":\"#993CF3\",\"black\":\"#993CF3\"},\"data\":[[1.250000,2],[1.500000,2]]}");
}

TEST_F(ProcessChartTest, MarkersAreWrittenAsNestedArraysInTheirOrder)
{
    timeConversionType = kTimeLoomstat;  // the only scale that gives marker times
    ProcessChart chart(kPid);
    std::string name = "frame";
    std::string args = "a=1";
    chart.addEvent(2.5, 7, name, args);
    std::string second = "x\"y";
    chart.addEvent(1.5, 8, second, args);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outProcessChart(w); }),
              "\n{\"id\":\"proc-7301-e\",\"name\":\"7301 - \",\"treeId\":\"7301_proc_root\",\"type\":\"events\","
              "\"class\":\"proc:events\",\"tip\":\"FTrace Markers\",\"show\":1,"
              "\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},"
              "\"data\":[[2.5,7,\"frame\",\"a=1\",],[1.5,8,\"x\\\"y\",\"a=1\",],]}");
}

// The values of one counter series at times 1, 2, 3...; the points it writes.
class CounterBars : public ProcessChartTest,
                    public testing::WithParamInterface<std::tuple<std::vector<unsigned int>, std::string>> {};

TEST_P(CounterBars, PairEachValueWithTheTimeBefore)
{
    auto [values, points] = GetParam();
    ProcessChart chart(kPid);
    unsigned int l1[4] = {0, 0, 0, 0};
    unsigned int l2[2] = {0, 0};
    for (size_t i = 0; i < values.size(); i++)
        chart.addCounters(ns(1.0 + i), values[i], l1, l2);
    // Only the cycle counter is configured here.
    for (auto& name : manager()._l1CounterNames)
        name = "ffffffff";
    for (auto& name : manager()._l2CounterNames)
        name = "ffffffff";
    manager()._cycleCounterName = "cycles";
    const std::string expected =
        points.empty() ? ""
                       : "\n{\"id\":\"proc-7301-ctr0\",\"name\":\"7301 - \",\"tip\":\"cycles\",\"treeId\":\"0_7301_proc_root\","
                         "\"type\":\"bar\",\"class\":\"ctr:\",\"show\":0,"
                         "\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},\"data\":[" +
                             points + "]}";
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outProcessChart(w); }), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Thinning, CounterBars,
    testing::Values(
        std::make_tuple(std::vector<unsigned int>{5}, "[0.000000,5],[1.000000,0]"),
        std::make_tuple(std::vector<unsigned int>{0, 0, 5, 5, 5, 3},
                        "[2.000000,5],[3.000000,5],[5.000000,3],[6.000000,0]"),
        std::make_tuple(std::vector<unsigned int>{0, 7, 0, 7, 0}, "[1.000000,7],[2.000000,0],[3.000000,7],[4.000000,0],[5.000000,0]"),
        std::make_tuple(std::vector<unsigned int>{0, 0, 0}, ""), std::make_tuple(std::vector<unsigned int>{}, "")));

TEST_F(ProcessChartTest, CounterSeriesAreIndependentAndCarryTheirOwnTreeIds)
{
    ProcessChart chart(kPid);
    chart._ppid = 9;
    unsigned int l1[4] = {0, 4, 0, 0};
    unsigned int l2[2] = {0, 0};
    chart.addCounters(ns(1.0), 0, l1, l2);
    manager()._cycleCounterName = "ffffffff";
    manager()._l1CounterNames[1] = "L1D";
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outProcessChart(w); }),
              "\n{\"id\":\"proc-7301-ctr2\",\"name\":\"7301 - \",\"tip\":\"L1D\",\"treeId\":\"2_7301_9_proc_root\","
              "\"type\":\"bar\",\"class\":\"ctr:\",\"show\":0,"
              "\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},\"data\":[[0.000000,4],[1.000000,0]]}");
}

}  // namespace
