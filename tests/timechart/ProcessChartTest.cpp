#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ProcessChart.h"
#include "TimechartFixture.h"

namespace {

// A pid no other test gives a COMM record, so the chart starts without name or parent.
const int kPid = 7301;

// Every non-empty series of a chart, named r<cpu>, w (CPU), d (I/O), g (GPU), i<kind>.
std::string series(const ProcessChart& chart)
{
    std::vector<std::pair<std::string, const std::vector<ChartEntryS>*>> all;
    for (unsigned int cpu = 0; cpu < ProcessChart::kCpus; cpu++)
        all.push_back({"r" + std::to_string(cpu), &chart._running[cpu]});
    all.insert(all.end(), {{"w", &chart._waitCpu}, {"d", &chart._waitIo}, {"g", &chart._waitGpu}});
    for (unsigned int k = 0; k < ProcessChart::kIssueKinds; k++)
        all.push_back({"i" + std::to_string(k), &chart._issue[k]});
    std::string out;
    for (const auto& [name, samplesOf] : all)
        if (!samplesOf->empty())
            out += (out.empty() ? "" : "; ") + name + "=" + samples(*samplesOf);
    return out;
}

class ProcessChartTest : public TimechartFixture {};

// Each status sent at 1.5 to a fresh chart, and the series it writes. A CPU
// beyond the running series' places writes only the other series.
TEST_F(ProcessChartTest, EachStatusWritesItsSeries)
{
    const struct {
        unsigned int status, cpu, sub;
        const char* series;
    } cases[] = {{0, 2, 0, "r2=15:1; w=15:0; d=15:0"}, {1, 2, 0, "r2=15:0; w=15:0; d=15:1"},
                 {2, 2, 0, "r2=15:0; w=15:1; d=15:0"}, {3, 2, 0, "r2=15:0; w=15:0; d=15:0"},
                 {2, 2, 1, "r2=15:0; w=15:1; d=15:0"},  // sub only matters for issues
                 {4, 2, 1, "g=15:1"},  {5, 2, 0, "g=15:0"},  {10, 2, 0, "i0=15:1"}, {11, 2, 1, "i1=15:2"},
                 {12, 2, 2, "i2=15:1"}, {13, 2, 1, "i3=15:2"}, {6, 2, 0, ""}, {14, 2, 1, ""},
                 {0, 16, 0, "w=15:0; d=15:0"}, {1, 16, 0, "w=15:0; d=15:1"},
                 {2, 16, 0, "w=15:1; d=15:0"}, {3, 0xFFFFFFFFu, 0, "w=15:0; d=15:0"}, {4, 99, 0, "g=15:1"}};
    for (const auto& c : cases) {
        ProcessChart chart(kPid);
        chart.addStatus(ns(1.5), c.status, c.cpu, c.sub);
        EXPECT_EQ(series(chart), c.series) << c.status << " on " << c.cpu;
    }
}

TEST_F(ProcessChartTest, WindowOfStartAndStopKeepsItsLimits)
{
    gSelectiveProcessing = true;
    gtodAtStart = 2.0;
    gtodAtStop = 3.0;
    ProcessChart chart(kPid);
    for (double t : {1.9, 2.0, 2.5, 3.0, 3.1})
        chart.addStatus(ns(t), 4, 0, 0);
    EXPECT_EQ(series(chart), "g=0:1 5:1 10:1");  // relative to the start
}

// Series are sorted at output, and markers keep the order found. A GPU wait
// of zeros still writes its entry.
TEST_F(ProcessChartTest, SortingAndTheGpuWaitOfZeros)
{
    timeConversionType = kTimeLoomstat;  // the only scale that gives marker times
    ProcessChart chart(kPid);
    std::string name = "frame", args = "a=1";
    chart.addEvent(2.5, 7, name, args);
    chart.addEvent(1.5, 8, name, args);
    chart.addStatus(ns(1.0), 5, 0, 0);
    chart.addStatus(ns(1.5), 12, 0, 1);
    chart.addStatus(ns(1.25), 12, 0, 1);
    chart.addStatus(ns(1.0), 1, 4, 0);  // I/O wait on CPU 4
    chart.addStatus(ns(0.5), 0, 4, 0);  // running before it, added after
    const std::string text = entriesOf([&](PerfJSONWriter& w) { chart.outProcessChart(w); });
    EXPECT_EQ(series(chart), "r4=5:1 10:0; w=5:0 10:0; d=5:0 10:1; g=10:0; i2=13:2 15:2");
    EXPECT_EQ(chart._events[0].code, 7u);
    EXPECT_NE(text.find("\n,{\"id\":\"proc-7301-g\",\"name\":\"7301 - \",\"treeId\":\"7301_proc_root\",\"type\":\"binary\","
                        "\"tip\":\"Waiting for GPU\",\"class\":\"proc:wait\",\"show\":1,"
                        "\"hints\":{\"white\":\"#db7093\",\"black\":\"#db7093\"},\"data\":[]}"),
              std::string::npos)
        << text;
}

}  // namespace
