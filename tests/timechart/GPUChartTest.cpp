#include <gtest/gtest.h>

#include <string>

#include "GPUChart.h"
#include "TimechartFixture.h"

namespace {

class GPUChartTest : public TimechartFixture {};

// Power state 0 first: the zeros on the other rungs write no entry. A
// frequency of only 0 writes none either; issue kind 0 and interrupt kind 2
// have no tip; a frame's end issues the value 2.
TEST_F(GPUChartTest, EntriesAndTheirKeys)
{
    GPUChart chart(3, 1);
    chart.addStatus(ns(2.0), 31, 0);
    chart.addStatus(ns(1.0), 30, 0);
    chart.addStatus(ns(1.5), 35, 0);
    chart.addStatus(ns(3.0), 10, 1);
    chart.addStatus(ns(4.0), 19, 1);
    EXPECT_EQ(entriesOf([&](PerfJSONWriter& w) { chart.outGPUChart(w); }),
              "\n{\"id\":\"gpu-3-1-p0\",\"name\":\"GPU-3D1 Power State\",\"treeId\":\"power_GPU-3D1_kgsl_root\","
              "\"type\":\"binary\",\"class\":\"gpu:power\",\"show\":1,\"tip\":\"OFF\","
              "\"hints\":{\"white\":\"#d3d3d3\",\"black\":\"#444444\"},\"data\":[[1.000000,1],[2.000000,0]]}"
              "\n,{\"id\":\"gpu-3-1-p1\",\"name\":\"GPU-3D1 Power State\",\"treeId\":\"power_GPU-3D1_kgsl_root\","
              "\"type\":\"binary\",\"class\":\"gpu:power\",\"show\":1,\"tip\":\"ON\","
              "\"hints\":{\"white\":\"#ffffdc\",\"black\":\"#555555\"},\"data\":[[2.000000,1]]}"
              "\n,{\"id\":\"gpu-3-1-q2\",\"name\":\"GPU-3D1 IRQ\",\"treeId\":\"irq_GPU-3D1_kgsl_root\","
              "\"type\":\"marker\",\"class\":\"gpu:irq\",\"show\":1,"
              "\"hints\":{\"white\":\"#812323\",\"black\":\"#e6a3a3\"},\"data\":[[4.000000,1]]}"
              "\n,{\"id\":\"gpu-3-1-i0\",\"name\":\"GPU-3D1 Issue\",\"treeId\":\"issue_GPU-3D1_kgsl_root\","
              "\"type\":\"marker\",\"class\":\"gpu:issue\",\"show\":1,"
              "\"hints\":{\"white\":\"#66ccff\",\"black\":\"#66ccff\"},\"data\":[[3.000000,2]]}");
}

}  // namespace
