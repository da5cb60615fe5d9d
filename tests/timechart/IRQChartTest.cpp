#include <gtest/gtest.h>

#include <string>

#include "IRQChart.h"
#include "TimechartFixture.h"

namespace {

class IRQChartTest : public TimechartFixture {};

// A soft interrupt takes its name from the soft interrupt names. A series of
// only zeros still writes its entry; CPUs from 4 up have no colours.
TEST_F(IRQChartTest, OneEntryPerCpuWithItsSamples)
{
    manager().addSirqName(3, "NET_RX");
    EXPECT_TRUE(manager().addValueToIRQChart(ns(2.0), 1003, 0, 1));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(1.0), 1003, 1, 1));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(3.0), 1003, 0, 5));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(3.0), 1003, 1, 16));
    EXPECT_FALSE(manager().addValueToIRQChart(ns(3.0), 77, 1, -1));
    EXPECT_EQ(manager()._irqCharts.size(), 1u);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { manager().outIRQCharts(w); }),
              "\n{\"id\":\"irq-1003-1\",\"name\":\"NET_RX\",\"treeId\":\"1003_irq_root\",\"type\":\"binary\","
              "\"class\":\"irq\",\"show\":0,\"tip\":\"Running on CPU 1\","
              "\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"},\"data\":[[1.000000,1],[2.000000,0]]}"
              "\n,{\"id\":\"irq-1003-5\",\"name\":\"NET_RX\",\"treeId\":\"1003_irq_root\",\"type\":\"binary\","
              "\"class\":\"irq\",\"show\":0,\"tip\":\"Running on CPU 5\",\"hints\":{},\"data\":[]}");
}

}  // namespace
