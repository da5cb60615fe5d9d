#include <gtest/gtest.h>

#include <string>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

namespace {

enum : uint16_t {
    kSwitch = 300,
    kWakeup,
    kCounters,
    kIdle,
    kFrequency,
    kIrqEntry,
    kIrqExit,
    kSoftEntry,
    kSoftExit,
    kRail,
    kClk,
    kPwrlevel,
    kA3xx,
    kIssue,
    kWaitEntry,
    kWaitExit,
    kBus,
    kGpuIrq,
    kZ180,
    kA2xx
};

// One recording of every kind of event, with markers in the trace file and a
// counter configuration through the environment, on the layout of kernels
// before 3.10 (false) and from 3.10 on (true): the document is the same. Times
// are in tenths of a second; -q keeps them (and gives the markers their own)
// as seconds. CPU 0 stays busy through the interrupt, whose entry saved its 1;
// the idle task is switched in at 2.8 and writes the marker whose line has no
// ">-"; the cycle counter keeps its code, and the unused level-one counter 4 is
// left out. The GPU's power ladder is walked through every rung.
class TimechartFullDocument : public testing::TestWithParam<bool> {};

TEST_P(TimechartFullDocument, EveryKindOfEntryInItsOrder)
{
    const bool k = GetParam();
    B b = B().attributes(112);
    const char* names[] = {"sched:sched_switch",
                           "sched:sched_wakeup",
                           "perf_trace_counters:sched_switch_with_ctrs",
                           "power:cpu_idle",
                           "power:cpu_frequency",
                           "irq:irq_handler_entry",
                           "irq:irq_handler_exit",
                           "irq:softirq_entry",
                           "irq:softirq_exit",
                           "kgsl:kgsl_rail",
                           "kgsl:kgsl_clk",
                           "kgsl:kgsl_pwrlevel",
                           "kgsl:kgsl_a3xx_irq_status",
                           "kgsl:kgsl_issueibcmds",
                           "kgsl:kgsl_waittimestamp_entry",
                           "kgsl:kgsl_waittimestamp_exit",
                           "kgsl:kgsl_bus",
                           "kgsl:kgsl_irq",
                           "kgsl:kgsl_z180_irq_status",
                           "kgsl:kgsl_a2xx_irq_status"};
    for (uint16_t i = 0; i < 20; i++)
        b.eventType(kSwitch + i, names[i]);
    auto at = [&b, k](int tenths, uint32_t cpu, uint16_t type, const std::string& body, int32_t commonPid = 0) {
        b.tracepoint(0, 1, 1, (uint64_t)tenths * 100000000ull, cpu, payload::raw(type, commonPid, body, k));
    };
    const uint32_t zero4[4] = {0, 0, 0, 0}, zero2[2] = {0, 0}, l1[4] = {1, 2, 3, 4}, l2[2] = {5, 6};
    const std::string gpu = "kgsl-3d0";
    b.comm(100, 100, "app");
    at(10, 0, kSwitch, payload::schedSwitch(0, 0, 100));
    at(10, 0, kCounters, payload::switchWithCounters(0, 100, 0, zero4, zero2));  // CPU 0's first: prev dropped
    at(11, 1, kFrequency, B::u32(1512000) + B::u32(0));                          // for CPU 0, which the payload names
    at(12, 1, kIdle, B::u32(0) + B::u32(1));                                     // idle state 0
    at(13, 1, kIdle, B::u32(0xFFFFFFFF) + B::u32(1));                            // leaving: dropped
    at(14, 1, kIdle, B::u32(1) + B::u32(1));                                     // idle state 1, charted as series 2
    at(14, 1, kIdle, B::u32(2) + B::u32(1));                 // idle state 2: beyond the chart's states
    at(15, 0, kIrqEntry, payload::irqEntry(33, "mmc0", k));  // saves CPU 0's busy 1
    at(16, 0, kIrqExit, B::u32(33) + B::u32(1));
    at(17, 1, kIrqEntry, payload::irqEntry(33, "other", k));  // saves CPU 1's busy 0; name stays
    at(17, 1, kIrqEntry, payload::irqEntry(33, "inner", k));  // nested: saves the outer entry's 1
    at(18, 1, kIrqExit, B::u32(33) + B::u32(1));
    at(18, 1, kIrqExit, B::u32(33) + B::u32(1));  // so CPU 1 stays busy
    at(19, 0, kSoftEntry, B::u32(3));
    at(20, 0, kSoftExit, B::u32(3));
    at(20, 1, kSoftExit, B::u32(3));                     // no entry on CPU 1: a series of one 0, written empty
    at(21, 0, kRail, payload::kgsl(gpu, B::u32(1), k));  // power state 1
    at(22, 0, kClk, payload::kgsl(gpu, B::u32(1), k));   // power state 3
    at(23, 0, kPwrlevel, payload::kgsl(gpu, B::u32(0) + B::u32(400000000), k));
    at(24, 0, kA3xx, payload::kgsl(gpu, B::u32(0x40000000), k));
    at(25, 0, kIssue, payload::issue(0x100, 0, 1, k), 100);  // GL, end of frame
    at(26, 0, kWaitEntry, "", 100);
    at(27, 0, kWaitExit, "", 100);
    at(28, 0, kSwitch, payload::schedSwitch(100, 2, 0));
    at(28, 0, kCounters, payload::switchWithCounters(100, 0, 900, l1, l2));
    at(29, 1, kWakeup, payload::schedWakeup(100));
    // The rest of the power ladder, from both sides; a frequency below 1 MHz.
    at(30, 0, kBus, payload::kgsl(gpu, B::u32(1), k));     // power state 2
    at(31, 0, kGpuIrq, payload::kgsl(gpu, B::u32(1), k));  // 4
    at(32, 0, kGpuIrq, payload::kgsl(gpu, B::u32(0), k));  // 3
    at(33, 0, kRail, payload::kgsl(gpu, B::u32(0), k));    // 0
    at(34, 0, kPwrlevel, payload::kgsl(gpu, B::u32(0) + B::u32(999999), k));
    at(35, 0, kA3xx, payload::kgsl(gpu, B::u32(0x80000000), k));              // RB complete
    at(36, 0, kA2xx, payload::kgsl(gpu, B::u32(0) + B::u32(0xC0000000), k));  // both bits: the third kind
    at(37, 0, kZ180, payload::kgsl("kgsl-2d1", B::u32(0x40000000), k));       // a second core, never told apart
    at(38, 0, kIssue, payload::issue(0, 0, 3, k), 100);                       // C2D, not the end of a frame
    at(39, 0, kIssue, payload::issue(0x100, 5, 1, k), 100);                   // failed: not charted

    ConverterRun run;
    run.input(b);
    if (k)
        run.env("kern_ver", "3.10");
    run.systemFile("/proc/softirqs",
                   "                    CPU0       CPU1\n          HI:          0          0\n"
                   "       TIMER:        100        200\n      NET_TX:          0          0\n"
                   "      NET_RX:         10         20\n");
    run.systemFile("/sys/kernel/debug/tracing/trace",
                   "# tracer: nop\n#\n"
                   "           <...>-100   [000] ...1     2.650000: tracing_mark_write: ZVIEW,7,draw,a,b\n"
                   // A full name has no ">-": read from position 1, a blank, the pid is 0.
                   "  surfaceflinger-301   [001] ...1     2.750000: tracing_mark_write: ZVIEW,5,frame,\n"
                   "             app-100   [000] ...1     2.700000: tracing_mark_write: ZVIEW,5,frame\n"
                   "           <...>-100   [000] ...1     2.800000: tracing_mark_write: other,1,2,3");
    // Cycle counter 11; level one 0a, 4b, 0a and one unused; level two 6c, 6d.
    run.file("config/plotx/activeCounters", "11\n-\n0a\n4b\n0a\nffffffff\n-\n6c\n6d\n-\n");
    run.file("www/configx/cfgx-types.json",
             "{\"items\":[{\"info\":{\"raw perf code\":\"0A\"},\"inputs\":[{\"event_type\":4}],\"name\":\"L1 miss\"},"
             "{\"info\":{\"raw perf code\":\"6C\"},\"inputs\":[{\"event_type\":6}],\"name\":\"L2 miss\"},"
             "{\"info\":{\"raw perf code\":\"11\"},\"inputs\":[{\"event_type\":4}],\"name\":\"Cycles\"}]}");
    run.env("ZELVIEW_CONFIG", run.path("config")).env("DOCUMENT_ROOT", run.path("www")).env("BUILD_TYPE", "user");
    RunResult r = run.run({"-t", "-q"});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.err, "");

    EXPECT_EQ(r.output, golden("timechart-every-kind-of-entry.json"));
}

INSTANTIATE_TEST_SUITE_P(Layouts, TimechartFullDocument, testing::Bool());

// CPUs 16 and 31 lie beyond the 16-place tables (last task, saved busy value,
// counter flags, the process's and interrupt's per-CPU series): those stay
// untouched, while the charts kept by number are made and fed as for any CPU.
TEST(TimechartFullDocument, CpusBeyondTheTablesFeedTheChartsKeptByNumber)
{
    B b = B().attributes(112);
    b.eventType(kSwitch, "sched:sched_switch").eventType(kCounters, "perf_trace_counters:sched_switch_with_ctrs");
    b.eventType(kIdle, "power:cpu_idle").eventType(kFrequency, "power:cpu_frequency");
    b.eventType(kIrqEntry, "irq:irq_handler_entry").eventType(kIrqExit, "irq:irq_handler_exit");
    auto at = [&b](int tenths, uint32_t cpu, uint16_t type, const std::string& body) {
        b.tracepoint(0, 1, 1, (uint64_t)tenths * 100000000ull, cpu, payload::raw(type, 0, body, false));
    };
    const uint32_t l1[4] = {1, 2, 3, 4}, l2[2] = {5, 6};
    b.comm(100, 100, "app");
    at(10, 15, kSwitch, payload::schedSwitch(0, 0, 100));
    // Task 100 moves to CPU 16: CPU 15's row and busy series close, and CPU 16 is busy.
    at(11, 16, kSwitch, payload::schedSwitch(0, 0, 100));
    at(11, 16, kCounters, payload::switchWithCounters(100, 0, 5, l1, l2));  // no counter flag for CPU 16: dropped
    at(12, 31, kFrequency, B::u32(1512000) + B::u32(16));                   // for CPU 16
    at(13, 31, kIdle, B::u32(0) + B::u32(31));
    // The interrupt's chart, and so its name, comes from CPU 31, whose series it cannot hold.
    at(14, 31, kIrqEntry, payload::irqEntry(40, "gpio", false));
    at(15, 31, kIrqExit, B::u32(40) + B::u32(0));  // CPU 31's saved busy value reads as 0
    at(16, 15, kIrqEntry, payload::irqEntry(40, "other", false));
    at(17, 15, kIrqExit, B::u32(40) + B::u32(0));
    at(18, 0, kFrequency, B::u32(800000) + B::u32(15));

    ConverterRun run;
    run.input(b);
    RunResult r = run.run({"-t", "-q"});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.output, golden("timechart-cpus-beyond-the-tables.json"));
}

}  // namespace
