#include <gtest/gtest.h>

#include <utility>

#include "CPUChart.h"
#include "TimechartFixture.h"

namespace {

class CPUChartTest : public TimechartFixture {};

// The idle values 1 to 4 enter states 0 to 3, and 0 leaves the state last
// entered. The idle decoder only sends odd values and its own leave value, so
// 0, 4 and a 0 before any state are reached only here. Values beyond the
// states are dropped, and the state last entered stays.
TEST_F(CPUChartTest, IdleStatesAndLeavingThem)
{
    CPUChart chart(0);
    for (auto [tenths, value] :
         {std::pair{5, 0}, {5, -1}, {10, 3}, {20, 0}, {30, 5}, {40, 0}, {50, 1}, {60, 0}, {70, 4}})
        chart.addValue((unsigned long long)tenths * 100000000ull, 42, value);
    EXPECT_EQ(samples(chart._idle[0]) + "|" + samples(chart._idle[1]) + "|" + samples(chart._idle[2]) + "|" +
                  samples(chart._idle[3]) + "|" + samples(chart._busy) + samples(chart._frequency),
              "50:1 60:0||10:1 20:0 40:0|70:1|");
}

}  // namespace
