// The charts of CPUs, GPUs, interrupts and markers, and the entry writer
// that thins every chart's series.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CPUChart.h"
#include "ChartEntryWriter.h"
#include "EventChart.h"
#include "GPUChart.h"
#include "IRQChart.h"
#include "TimechartFixture.h"

namespace {

class Charts : public TimechartFixture {};

// The points of a series with values at times 1, 2, 3...: changes only
// start from a last value of 0; counter bars pair each value with the time
// before, skip a value repeated a third time, and close with a 0.
TEST_F(Charts, EntryWriterPoints)
{
    const struct {
        std::vector<unsigned int> values;
        bool bars;
        const char* points;
    } cases[] = {
        {{0, 1, 1, 0, 0, 1}, false, "[2.000000,1],[4.000000,0],[6.000000,1]"},
        {{0, 0, 5, 5, 5, 3}, true, "[2.000000,5],[3.000000,5],[5.000000,3],[6.000000,0]"},
        {{0, 7, 0, 7, 0}, true, "[1.000000,7],[2.000000,0],[3.000000,7],[4.000000,0],[5.000000,0]"},
    };
    for (const auto& c : cases) {
        std::vector<ChartEntryS> series;
        for (size_t i = 0; i < c.values.size(); i++)
            series.push_back({1.0 + (double)i, c.values[i]});
        EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) {
                      ChartEntryWriter entry(w);
                      entry.text("id", "x");
                      c.bars ? entry.counterBars(series, "[%f,%u]") : entry.changesOnly(series, "[%f,%u]", false);
                  }),
                  "\n{\"id\":\"x\",\"data\":[" + std::string(c.points) + "]}")
            << c.points;
    }
    // A point longer than its buffer is cut.
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { ChartEntryWriter(w).text("id", "a").allPoints({{0x1p84, 1}}, "[%f,%u]"); }),
              "\n{\"id\":\"a\",\"data\":[[19342813113834066795298816.000]}");
}

// Leaving idle closes the state last entered, and before any is dropped, as
// are values beyond the states; the busy state is the last value appended,
// whatever its time.
TEST_F(Charts, CpuIdleAndBusyState)
{
    CPUChart chart(0);
    chart.addValue(ns(0.5), 42, 0);
    chart.addValue(ns(0.5), 42, -1);
    chart.addValue(ns(1.0), 42, 3);
    chart.addValue(ns(2.0), 42, 0);
    chart.addValue(ns(3.0), 42, 5);  // dropped: the state last entered stays
    chart.addValue(ns(4.0), 42, 0);
    chart.addValue(ns(5.0), 42, 1);
    chart.addValue(ns(6.0), 42, 0);
    EXPECT_EQ(samples(chart._idle[0]) + "|" + samples(chart._idle[1]) + "|" + samples(chart._idle[2]) + "|" +
                  samples(chart._idle[3]) + "|" + samples(chart._busy) + samples(chart._frequency),
              "50:1 60:0||10:1 20:0 40:0||");
    EXPECT_EQ(chart.getBusyState(), 0);
    chart.addValue(ns(2.0), 40, 1);
    EXPECT_EQ(chart.getBusyState(), 1);
    chart.addValue(ns(1.0), 40, 0);  // earlier in time but appended last
    chart.addValue(ns(3.0), 41, 7);
    EXPECT_EQ(chart.getBusyState(), 0);
}

// Each non-empty series is sorted and written change-only; a series of zeros
// keeps its entry with no point. CPUs from 4 up have no colours.
TEST_F(Charts, CpuWritesEachNonEmptySeries)
{
    CPUChart chart(4);
    chart.addValue(ns(5.0), 40, 1);
    for (auto [t, v] : std::vector<std::pair<double, int>>{{1.0, 1}, {2.0, 1}, {3.0, 0}, {4.0, 0}})
        chart.addValue(ns(t), 40, v);
    chart.addValue(ns(1.5), 41, 0);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outCPUChart(w); }),
              "\n{\"id\":\"cpu-4-b\",\"name\":\"CPU 4 Busy\",\"treeId\":\"b_4_cpu_root\",\"type\":\"binary\","
              "\"class\":\"cpu:busy\",\"show\":1,\"hints\":{},\"data\":[[1.000000,1],[3.000000,0],[5.000000,1]]}"
              "\n,{\"id\":\"cpu-4-f\",\"name\":\"CPU 4 Frequency\",\"treeId\":\"f_4_cpu_root\",\"type\":\"bar\","
              "\"class\":\"cpu:freq\",\"show\":1,\"tip\":\"MHz\",\"hints\":{},\"data\":[]}");
}

// A frequency of only 0 writes no entry; interrupt kind 2 and issue kind 0
// have no tip. (The power ladder's entries are in the whole documents.)
TEST_F(Charts, GpuEntriesWithoutTips)
{
    GPUChart chart(3, 1);
    chart.addStatus(ns(1.5), 35, 0);
    chart.addStatus(ns(3.0), 10, 1);
    chart.addStatus(ns(4.0), 19, 1);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outGPUChart(w); }),
              "\n{\"id\":\"gpu-3-1-q2\",\"name\":\"GPU-3D1 IRQ\",\"treeId\":\"irq_GPU-3D1_kgsl_root\","
              "\"type\":\"marker\",\"class\":\"gpu:irq\",\"show\":1,"
              "\"hints\":{\"white\":\"#812323\",\"black\":\"#e6a3a3\"},\"data\":[[4.000000,1]]}"
              "\n,{\"id\":\"gpu-3-1-i0\",\"name\":\"GPU-3D1 Issue\",\"treeId\":\"issue_GPU-3D1_kgsl_root\","
              "\"type\":\"marker\",\"class\":\"gpu:issue\",\"show\":1,"
              "\"hints\":{\"white\":\"#66ccff\",\"black\":\"#66ccff\"},\"data\":[[3.000000,2]]}");
}

// A soft interrupt takes its name from the soft interrupt names. A series of
// only zeros still writes its entry; CPUs from 4 up have no colours. A CPU
// beyond the series makes the chart all the same, and stores nothing in it.
TEST_F(Charts, IrqEntryPerCpu)
{
    manager().addSirqName(3, "NET_RX");
    EXPECT_TRUE(manager().addValueToIRQChart(ns(2.0), 1003, 0, 1));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(1.0), 1003, 1, 1));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(3.0), 1003, 0, 5));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(3.0), 1003, 1, 16));
    EXPECT_TRUE(manager().addValueToIRQChart(ns(3.0), 77, 1, -1));
    EXPECT_EQ(manager()._irqCharts.size(), 2u);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { manager().outIRQCharts(w); }),
              "\n{\"id\":\"irq-1003-1\",\"name\":\"NET_RX\",\"treeId\":\"1003_irq_root\",\"type\":\"binary\","
              "\"class\":\"irq\",\"show\":0,\"tip\":\"Running on CPU 1\","
              "\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"},\"data\":[[1.000000,1],[2.000000,0]]}"
              "\n,{\"id\":\"irq-1003-5\",\"name\":\"NET_RX\",\"treeId\":\"1003_irq_root\",\"type\":\"binary\","
              "\"class\":\"irq\",\"show\":0,\"tip\":\"Running on CPU 5\",\"hints\":{},\"data\":[]}");
}

// Marker times are kept only on the loomstat scale; on any other they are
// 0.0, which a window that starts later drops.
TEST_F(Charts, EventMarkerTimesAreZeroOffTheLoomstatScale)
{
    std::string name = "draw", args = "a,b";
    EventChart chart;
    chart.addEvent(12.0, 1, name, args);
    gSelectiveProcessing = true;
    gtodAtStart = 0.5;
    gtodAtStop = 20.0;
    chart.addEvent(12.0, 1, name, args);
    ASSERT_EQ(chart._events.size(), 1u);
    EXPECT_EQ(chart._events[0].time, 0.0);
}

}  // namespace
