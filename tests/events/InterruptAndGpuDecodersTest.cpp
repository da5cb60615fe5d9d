#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "CPUChart.h"
#include "EventWalk.h"
#include "GPUChart.h"
#include "IRQChart.h"
#include "ProcessChart.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

namespace {

enum : uint16_t {
    kIdle = 400, kFrequency, kIrqEntry, kIrqExit, kSoftEntry, kSoftExit, kRail, kBus, kClk, kGpuIrq, kPwrlevel,
    kA2xx, kA3xx, kZ180, kIssue, kWaitEntry, kWaitExit
};

B withEventTable()
{
    B b;
    const char* names[] = {"power:cpu_idle", "power:cpu_frequency", "irq:irq_handler_entry", "irq:irq_handler_exit",
                           "irq:softirq_entry", "irq:softirq_exit", "kgsl:kgsl_rail", "kgsl:kgsl_bus",
                           "kgsl:kgsl_clk", "kgsl:kgsl_irq", "kgsl:kgsl_pwrlevel", "kgsl:kgsl_a2xx_irq_status",
                           "kgsl:kgsl_a3xx_irq_status", "kgsl:kgsl_z180_irq_status", "kgsl:kgsl_issueibcmds",
                           "kgsl:kgsl_waittimestamp_entry", "kgsl:kgsl_waittimestamp_exit"};
    for (uint16_t i = 0; i < 17; i++)
        b.eventType(kIdle + i, names[i]);
    return b;
}

// Both layouts: kern_ver 309 (12-byte common header) and 310 (8 bytes).
class InterruptAndGpuDecoders : public EventWalk, public testing::WithParamInterface<int> {
protected:
    void SetUp() override
    {
        EventWalk::SetUp();
        kern_ver = GetParam();
    }
    bool short310() const { return GetParam() >= 310; }
    // A sample at `tenths` of a second on `cpu`.
    B& at(B& b, int tenths, uint32_t cpu, uint16_t type, const std::string& payload, int32_t commonPid = 0)
    {
        return b.tracepoint(0, 1, 1, (uint64_t)tenths * 100000000ull, cpu,
                            payload::raw(type, commonPid, payload, short310()));
    }
};

// (The whole timechart documents cover frequency and the GPU waits in both
// layouts.) Idle states from 2 up and leaving idle are dropped by the chart. Nested
// interrupts: the inner entry saves the 1 of the outer, so the CPU stays busy
// after both exits. An interrupt on a CPU beyond the tables makes its charts
// and stores its name, but no interrupt sample.
TEST_P(InterruptAndGpuDecoders, CpuAndInterruptEvents)
{
    const bool k = short310();
    B b = withEventTable();
    at(b, 10, 2, kIdle, B::u32(0) + B::u32(7));  // idle state 0 -> 1 -> series 0
    at(b, 11, 2, kIdle, B::u32(1) + B::u32(7));  // state 1 -> 3 -> series 2
    at(b, 12, 2, kIdle, B::u32(2) + B::u32(7));  // state 2 -> 5
    at(b, 13, 2, kIdle, B::u32(0xFFFFFFFF) + B::u32(7));
    at(b, 20, 3, kIrqEntry, payload::irqEntry(33, "mmc0", k));
    at(b, 21, 3, kIrqEntry, payload::irqEntry(33, "again", k));
    at(b, 22, 3, kIrqExit, B::u32(33) + B::u32(1));
    at(b, 23, 3, kIrqExit, B::u32(33) + B::u32(1));
    at(b, 26, 16, kIrqEntry, payload::irqEntry(35, "beyond", k));
    at(b, 30, 16, kSoftEntry, B::u32(3));
    walk(b);

    const CPUChart* cpu2 = manager().getCPUChart(2);
    ASSERT_NE(cpu2, nullptr);
    EXPECT_EQ(samples(cpu2->_idle[0]) + "|" + samples(cpu2->_idle[1]) + "|" + samples(cpu2->_idle[2]), "10:1||11:1");
    EXPECT_EQ(samples(manager().getCPUChart(3)->_busy), "20:1 21:1 22:1 23:1");
    ASSERT_EQ(manager()._cpuCharts.size(), 3u);
    EXPECT_EQ(samples(manager().getCPUChart(16)->_busy), "26:1");
    ASSERT_EQ(manager()._irqCharts.size(), 3u);
    EXPECT_EQ(samples(manager().getIRQChart(33)->_series[3]), "20:1 21:1 22:0 23:0");
    for (int irq : {35, 1003})
        for (const auto& series : manager().getIRQChart(irq)->_series)
            EXPECT_TRUE(series.empty()) << irq;
    EXPECT_EQ(manager()._irqNames, (std::map<int, std::string>{{33, "mmc0"}, {35, "beyond"}}));
}

// For each time, the rung of the power ladder that was entered.
std::string ladder(const GPUChart& chart)
{
    std::map<int, int> rungs;
    for (int i = 0; i < GPUChart::kPowerStates; i++)
        for (const ChartEntryS& s : chart._power[i])
            if (s.value == 1)
                rungs[(int)(s.time * 10 + 0.5)] = i;
    std::string out;
    for (auto [time, rung] : rungs)
        out += (out.empty() ? "" : " ") + std::to_string(time) + ":" + std::to_string(rung);
    return out;
}

TEST_P(InterruptAndGpuDecoders, GpuEvents)
{
    const bool k = short310();
    const std::string gpu = "kgsl-3d0";
    auto flag = [&](uint32_t value) { return payload::kgsl(gpu, B::u32(value), k); };
    auto word = [&](const std::string& device, size_t at, uint32_t value) {
        return payload::kgsl(device, (at == 8 ? B::u32(0) : "") + B::u32(value), k);
    };
    B b = withEventTable();
    at(b, 10, 0, kRail, flag(1));  // rung 1
    at(b, 11, 0, kBus, flag(1));   // 2
    at(b, 12, 0, kClk, flag(1));   // 3
    at(b, 13, 0, kGpuIrq, flag(1));  // 4
    at(b, 14, 0, kGpuIrq, flag(0));  // 3
    at(b, 15, 0, kBus, flag(0));   // 1, as the rail switched on
    at(b, 16, 0, kRail, flag(0));  // 0
    at(b, 17, 0, kPwrlevel, word(gpu, 8, 400000000));
    at(b, 18, 0, kPwrlevel, word(gpu, 8, 999999));
    at(b, 20, 0, kA2xx, word(gpu, 8, 0x40000000));
    at(b, 21, 0, kA2xx, word(gpu, 8, 0x80000000));
    at(b, 22, 0, kA2xx, word(gpu, 8, 0xC0000000));
    at(b, 24, 0, kA3xx, word(gpu, 4, 0xC0000000));
    at(b, 26, 0, kZ180, word("kgsl-2d1", 4, 0x40000000));  // never told apart
    at(b, 30, 0, kIssue, payload::issue(0x100, 0, 2, k), 500);
    at(b, 31, 0, kIssue, payload::issue(0, 0, 7, k), 500);
    at(b, 32, 0, kIssue, payload::issue(0x100, 5, 1, k), 500);  // failed: not charted
    at(b, 33, 0, kIssue, payload::issue(0x300, 0, 3, k), 500);
    // A short name: the positions read the bytes behind its NUL, "9x" and its NUL.
    at(b, 42, 0, kRail, payload::kgsl(std::string("kgsl\0" "9x", 7), B::u32(1), k));
    walk(b);

    ASSERT_EQ(manager()._gpuCharts.size(), 3u);
    const GPUChart* core = manager().getGPUChart(3, 0);
    ASSERT_NE(core, nullptr);
    EXPECT_EQ(ladder(*core), "10:1 11:2 12:3 13:4 14:3 15:1 16:0");
    EXPECT_EQ(samples(core->_frequency), "17:400 18:0");
    EXPECT_EQ(samples(core->_irqs[0]) + "|" + samples(core->_irqs[1]) + "|" + samples(core->_irqs[2]),
              "20:1|21:1|22:1 24:1");
    EXPECT_EQ(samples(core->_issue[0]) + "|" + samples(core->_issue[1]) + "|" + samples(core->_issue[2]) + "|" +
                  samples(core->_issue[3]),
              "31:1||30:2|33:2");
    ASSERT_NE(manager().getGPUChart(2, 1), nullptr);
    EXPECT_EQ(samples(manager().getGPUChart(2, 1)->_irqs[2]), "26:1");
    ASSERT_NE(manager().getGPUChart(9, 0), nullptr);
    EXPECT_EQ(ladder(*manager().getGPUChart(9, 0)), "42:1");
    const ProcessChart* process = manager().getProcessChart(500);
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(samples(process->_issue[0]) + "|" + samples(process->_issue[2]) + "|" + samples(process->_issue[3]),
              "31:1|30:2|33:2");
}

INSTANTIATE_TEST_SUITE_P(Layouts, InterruptAndGpuDecoders, testing::Values(309, 310));

}  // namespace
