#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "CPUChart.h"
#include "TimechartFixture.h"

namespace {

std::string samples(const std::vector<ChartEntryS>& series)
{
    std::string out;
    for (const ChartEntryS& s : series)
        out += (out.empty() ? "" : " ") + std::to_string((int)(s.time * 10)) + ":" + std::to_string(s.value);
    return out;
}

// Non-empty series as b (busy), f (frequency), s<i> (idle state i).
std::string series(const CPUChart& chart)
{
    std::string out;
    auto add = [&out](const std::string& name, const std::vector<ChartEntryS>& s) {
        if (!s.empty())
            out += (out.empty() ? "" : "; ") + name + "=" + samples(s);
    };
    add("b", chart._busy);
    add("f", chart._frequency);
    for (int i = 0; i < CPUChart::kIdleStates; i++)
        add("s" + std::to_string(i), chart._idle[i]);
    return out;
}

class CPUChartTest : public TimechartFixture {};

// kind and value sent at 1.0 to a fresh chart; the series written.
class CpuValues : public CPUChartTest, public testing::WithParamInterface<std::tuple<int, int, std::string>> {};

TEST_P(CpuValues, KindChoosesTheSeries)
{
    auto [kind, value, expected] = GetParam();
    CPUChart chart(0);
    chart.addValue(ns(1.0), kind, value);
    EXPECT_EQ(series(chart), expected);
}

INSTANTIATE_TEST_SUITE_P(Kinds, CpuValues,
                         testing::Values(std::make_tuple(39, 1, ""), std::make_tuple(0, 1, ""),
                                         std::make_tuple(40, 1, "b=10:1"), std::make_tuple(41, 1512, "f=10:1512"),
                                         std::make_tuple(42, 1, "s0=10:1"), std::make_tuple(42, 4, "s3=10:1"),
                                         std::make_tuple(50, 3, "s2=10:1"),  // every kind above 41 is idle
                                         std::make_tuple(42, 0, ""),         // leaving before any entry
                                         std::make_tuple(42, 5, ""), std::make_tuple(42, -1, "")));

TEST_F(CPUChartTest, LeavingIdleClosesTheStateLastEntered)
{
    CPUChart chart(0);
    chart.addValue(ns(1.0), 42, 3);
    chart.addValue(ns(2.0), 42, 0);
    chart.addValue(ns(3.0), 42, 5);  // dropped: the state last entered stays
    chart.addValue(ns(4.0), 42, 0);
    chart.addValue(ns(5.0), 42, 1);
    chart.addValue(ns(6.0), 42, 0);
    EXPECT_EQ(series(chart), "s0=50:1 60:0; s2=10:1 20:0 40:0");
    EXPECT_EQ(chart._lastIdle, 0);
}

TEST_F(CPUChartTest, BusyStateIsTheLastValueAppended)
{
    CPUChart chart(0);
    EXPECT_EQ(chart.getBusyState(), 0);
    chart.addValue(ns(2.0), 40, 1);
    chart.addValue(ns(1.0), 40, 0);  // earlier in time but appended last
    EXPECT_EQ(chart.getBusyState(), 0);
    chart.addValue(ns(3.0), 41, 7);
    EXPECT_EQ(chart.getBusyState(), 0);
}

TEST_F(CPUChartTest, WritesEachNonEmptySeriesChangeOnlyWithItsColours)
{
    CPUChart chart(2);
    for (auto [t, v] : std::vector<std::pair<double, int>>{{1.0, 1}, {2.0, 1}, {3.0, 0}, {4.0, 0}, {5.0, 1}})
        chart.addValue(ns(t), 40, v);
    chart.addValue(ns(1.5), 41, 0);  // a series of zeros: its entry stays, with no point
    chart.addValue(ns(2.5), 42, 2);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outCPUChart(w); }),
              "\n{\"id\":\"cpu-2-b\",\"name\":\"CPU 2 Busy\",\"treeId\":\"b_2_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{\"white\":\"#006400\",\"black\":\"#badcba\"},"
              "\"data\":[[1.000000,1],[3.000000,0],[5.000000,1]]}"
              "\n,{\"id\":\"cpu-2-f\",\"name\":\"CPU 2 Frequency\",\"treeId\":\"f_2_cpu_root\",\"type\":\"bar\","
              "\"class\":\"cpu:freq\",\"show\":1,\"tip\":\"MHz\",\"hints\":{\"white\":\"#006400\",\"black\":\"#badcba\"},"
              "\"data\":[]}"
              "\n,{\"id\":\"cpu-2-s-1\",\"name\":\"CPU 2 Idle State\",\"treeId\":\"s_2_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:idle\",\"show\":1,\"tip\":\"Retention\",\"hints\":{\"white\":\"#e0ffe0\",\"black\":\"#005500\"},"
              "\"data\":[[2.500000,1]]}");
}

TEST_F(CPUChartTest, CpusFromFourUpHaveNoColoursButIdleStatesKeepTheirs)
{
    CPUChart chart(4);
    chart.addValue(ns(2.0), 40, 1);
    chart.addValue(ns(1.0), 40, 0);  // sorted before the 1
    chart.addValue(ns(1.0), 42, 1);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outCPUChart(w); }),
              "\n{\"id\":\"cpu-4-b\",\"name\":\"CPU 4 Busy\",\"treeId\":\"b_4_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{},\"data\":[[2.000000,1]]}"
              "\n,{\"id\":\"cpu-4-s-0\",\"name\":\"CPU 4 Idle State\",\"treeId\":\"s_4_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:idle\",\"show\":1,\"tip\":\"Wait For Interrupt\","
              "\"hints\":{\"white\":\"#ffffdc\",\"black\":\"#555555\"},\"data\":[[1.000000,1]]}");
}

TEST_F(CPUChartTest, PointTooLongForItsBufferIsCut)
{
    timeConversionType = kTimeBase;
    baseTime = 1e25;  // "%f" of such a time fills more than the 32 bytes of a point
    CPUChart chart(5);
    chart.addValue(0, 40, 1);
    baseTime = 1000000.0;
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outCPUChart(w); }),
              "\n{\"id\":\"cpu-5-b\",\"name\":\"CPU 5 Busy\",\"treeId\":\"b_5_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{},\"data\":[[10000000000000000905969664.000]}");
}

}  // namespace
