#include <gtest/gtest.h>

#include <string>

#include "EventChart.h"
#include "TimechartFixture.h"

namespace {

class EventChartTest : public TimechartFixture {};

// Marker times are kept only on the loomstat scale, where they stay in the
// order found; on any other scale they are 0.0, which a window that starts
// later drops.
TEST_F(EventChartTest, MarkerTimesAndOrder)
{
    std::string name = "draw";
    std::string args = "a,b";
    std::string empty;
    EventChart chart;
    chart.addEvent(12.0, 1, name, args);
    gSelectiveProcessing = true;
    gtodAtStart = 0.5;
    gtodAtStop = 20.0;
    chart.addEvent(12.0, 1, name, args);
    ASSERT_EQ(chart._events.size(), 1u);
    EXPECT_EQ(chart._events[0].time, 0.0);

    timeConversionType = kTimeLoomstat;
    gSelectiveProcessing = false;
    gtodAtStart = 0.0;
    timestampScaler = 2.0;
    timestampOffset = 1.0;
    chart._events.clear();
    chart.addEvent(2.25, 7, name, args);
    chart.addEvent(0.5, 5, name, empty);
    timestampScaler = 1.0;
    timestampOffset = 0.0;
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outEventChart(w); }),
              "\n{\"id\":\"evt\",\"name\":\"FTrace Events\",\"treeId\":\"evt_root\",\"type\":\"events\","
              "\"class\":\"proc:events\",\"tip\":\"FTrace Events\",\"show\":1,"
              "\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},"
              "\"data\":[[5.5,7,\"draw\",\"a,b\",],[2,5,\"draw\",\"\",],]}");
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { EventChart().outEventChart(w); }), "");
}

}  // namespace
