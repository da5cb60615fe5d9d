#include <gtest/gtest.h>

#include <string>

#include "TracePayloads.h"
#include "ConverterRun.h"
#include "PerfDataBuilder.h"

using B = PerfDataBuilder;

namespace {

enum : uint16_t {
    kSwitch = 300, kWakeup, kCounters, kIdle, kFrequency, kIrqEntry, kIrqExit, kSoftEntry, kSoftExit, kRail, kClk,
    kPwrlevel, kA3xx, kIssue, kWaitEntry, kWaitExit
};

// One recording of every kind of event, with markers in the trace file and a
// counter configuration through the environment, on the layout of kernels
// before 3.10 (false) and from 3.10 on (true): the document is the same. Times
// are in tenths of a second; -q keeps them (and gives the markers their own)
// as seconds.
class TimechartFullDocument : public testing::TestWithParam<bool> {};

TEST_P(TimechartFullDocument, EveryKindOfEntryInItsOrder)
{
    const bool k = GetParam();
    B b = B().attributes(112);
    const char* names[] = {"sched:sched_switch", "sched:sched_wakeup", "perf_trace_counters:sched_switch_with_ctrs",
                           "power:cpu_idle", "power:cpu_frequency", "irq:irq_handler_entry", "irq:irq_handler_exit",
                           "irq:softirq_entry", "irq:softirq_exit", "kgsl:kgsl_rail", "kgsl:kgsl_clk",
                           "kgsl:kgsl_pwrlevel", "kgsl:kgsl_a3xx_irq_status", "kgsl:kgsl_issueibcmds",
                           "kgsl:kgsl_waittimestamp_entry", "kgsl:kgsl_waittimestamp_exit"};
    for (uint16_t i = 0; i < 16; i++)
        b.eventType(kSwitch + i, names[i]);
    auto at = [&b, k](int tenths, uint32_t cpu, uint16_t type, const std::string& body, int32_t commonPid = 0) {
        b.tracepoint(0, 1, 1, (uint64_t)tenths * 100000000ull, cpu, payload::raw(type, commonPid, body, k));
    };
    const uint32_t zero4[4] = {0, 0, 0, 0}, zero2[2] = {0, 0}, l1[4] = {1, 2, 3, 4}, l2[2] = {5, 6};
    const std::string gpu = "kgsl-3d0";
    b.comm(100, 100, "app");
    at(10, 0, kSwitch, payload::schedSwitch(0, 0, 100));
    at(10, 0, kCounters, payload::switchWithCounters(0, 100, 0, zero4, zero2));  // CPU 0's first: prev dropped
    at(11, 1, kFrequency, B::u32(1512000) + B::u32(0));  // for CPU 0, which the payload names
    at(12, 1, kIdle, B::u32(0) + B::u32(1));           // idle state 0
    at(13, 1, kIdle, B::u32(0xFFFFFFFF) + B::u32(1));  // leaving: dropped
    at(14, 1, kIdle, B::u32(1) + B::u32(1));           // idle state 1, charted as series 2
    at(15, 0, kIrqEntry, payload::irqEntry(33, "mmc0", k));  // saves CPU 0's busy 1
    at(16, 0, kIrqExit, B::u32(33) + B::u32(1));
    at(17, 1, kIrqEntry, payload::irqEntry(33, "other", k));  // saves CPU 1's busy 0; name stays
    at(18, 1, kIrqExit, B::u32(33) + B::u32(1));
    at(19, 0, kSoftEntry, B::u32(3));
    at(20, 0, kSoftExit, B::u32(3));
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

    ConverterRun run;
    run.input(b);
    if (k)
        run.env("kern_ver", "3.10");
    run.systemFile("/proc/softirqs", "                    CPU0       CPU1\n          HI:          0          0\n"
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

    const std::string black = "\"hints\":{\"white\":\"#000000\",\"black\":\"#ffffff\"}";
    const std::string indigo = "\"hints\":{\"white\":\"#4b0082\",\"black\":\"#caa1e0\"}";
    const std::string app = "\"name\":\"100 - app\",\"treeId\":\"100_proc_root\",";
    auto gpuEntry = [](const std::string& id, const std::string& name, const std::string& rest) {
        return "\n,{\"id\":\"gpu-3-0-" + id + "\",\"name\":\"GPU-3D0 " + name + "\",\"treeId\":\"" + rest;
    };
    auto counter = [](int i, const char* tip, int value) {
        return "\n,{\"id\":\"proc-100-ctr" + std::to_string(i) + "\",\"name\":\"100 - app\",\"tip\":\"" + tip +
               "\",\"treeId\":\"" + std::to_string(i) +
               "_100_proc_root\",\"type\":\"bar\",\"class\":\"ctr:\",\"show\":1,"
               "\"hints\":{\"white\":\"#232381\",\"black\":\"#a3a3e6\"},\"data\":[[1.000000," +
               std::to_string(value) + "],[2.800000,0]]}";
    };
    const std::string expected =
        "\n{\"entries\":["
        // CPU 0 stays busy through the interrupt, whose entry saved its 1.
        "\n{\"id\":\"cpu-0-b\",\"name\":\"CPU 0 Busy\",\"treeId\":\"b_0_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:busy\",\"show\":1," + black + ",\"data\":[[1.000000,1],[2.800000,0]]}"
        "\n,{\"id\":\"cpu-0-f\",\"name\":\"CPU 0 Frequency\",\"treeId\":\"f_0_cpu_root\",\"type\":\"bar\","
        "\"class\":\"cpu:freq\",\"show\":1,\"tip\":\"MHz\"," + black + ",\"data\":[[1.100000,1512]]}"
        "\n,{\"id\":\"cpu-1-b\",\"name\":\"CPU 1 Busy\",\"treeId\":\"b_1_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:busy\",\"show\":1," + indigo + ",\"data\":[[1.700000,1],[1.800000,0]]}"
        "\n,{\"id\":\"cpu-1-s-0\",\"name\":\"CPU 1 Idle State\",\"treeId\":\"s_1_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:idle\",\"show\":1,\"tip\":\"Wait For Interrupt\","
        "\"hints\":{\"white\":\"#ffffdc\",\"black\":\"#555555\"},\"data\":[[1.200000,1]]}"
        "\n,{\"id\":\"cpu-1-s-2\",\"name\":\"CPU 1 Idle State\",\"treeId\":\"s_1_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:idle\",\"show\":1,\"tip\":\"Standalone Power Collapse\","
        "\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},\"data\":[[1.400000,1]]}" +
        // Power states 0, 2 and 4 only ever got zeros.
        gpuEntry("p1", "Power State", "power_GPU-3D0_kgsl_root\",\"type\":\"binary\",\"class\":\"gpu:power\","
                 "\"show\":1,\"tip\":\"ON\",\"hints\":{\"white\":\"#ffffdc\",\"black\":\"#555555\"},"
                 "\"data\":[[2.100000,1],[2.200000,0]]}") +
        gpuEntry("p3", "Power State", "power_GPU-3D0_kgsl_root\",\"type\":\"binary\",\"class\":\"gpu:power\","
                 "\"show\":1,\"tip\":\"ON | CLK | AXI\",\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},"
                 "\"data\":[[2.200000,1]]}") +
        gpuEntry("f", "Frequency", "freq_GPU-3D0_kgsl_root\",\"type\":\"bar\",\"class\":\"gpu:freq\",\"show\":1,"
                 "\"tip\":\"MHz\",\"hints\":{\"white\":\"#8fbc8f\",\"black\":\"#8fbc8f\"},"
                 "\"data\":[[2.300000,400]]}") +
        gpuEntry("q0", "IRQ", "irq_GPU-3D0_kgsl_root\",\"type\":\"marker\",\"class\":\"gpu:irq\",\"show\":1,"
                 "\"tip\":\"IB1 Complete\",\"hints\":{\"white\":\"#bfbf34\",\"black\":\"#e6e6a3\"},"
                 "\"data\":[[2.400000,1]]}") +
        gpuEntry("i1", "Issue", "issue_GPU-3D0_kgsl_root\",\"type\":\"marker\",\"class\":\"gpu:issue\",\"show\":1,"
                 "\"tip\":\"GL\",\"hints\":{\"white\":\"#00ff00\",\"black\":\"#00ff00\"},\"data\":[[2.500000,2]]}") +
        "\n,{\"id\":\"irq-33-0\",\"name\":\"mmc0\",\"treeId\":\"33_irq_root\",\"type\":\"binary\",\"class\":\"irq\","
        "\"show\":0,\"tip\":\"Running on CPU 0\"," + black + ",\"data\":[[1.500000,1],[1.600000,0]]}"
        "\n,{\"id\":\"irq-33-1\",\"name\":\"mmc0\",\"treeId\":\"33_irq_root\",\"type\":\"binary\",\"class\":\"irq\","
        "\"show\":0,\"tip\":\"Running on CPU 1\"," + indigo + ",\"data\":[[1.700000,1],[1.800000,0]]}"
        "\n,{\"id\":\"irq-1003-0\",\"name\":\"NET_RX\",\"treeId\":\"1003_irq_root\",\"type\":\"binary\","
        "\"class\":\"irq\",\"show\":0,\"tip\":\"Running on CPU 0\"," + black +
        ",\"data\":[[1.900000,1],[2.000000,0]]}"
        // The idle task: switched in at 2.8, and the writer of the marker whose line has no ">-".
        "\n,{\"id\":\"proc-0-r0\",\"name\":\"0 - kernel\",\"treeId\":\"0_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":1,\"tip\":\"Running on CPU 0\"," + black +
        ",\"data\":[[2.800000, 1]]}"
        "\n,{\"id\":\"proc-0-e\",\"name\":\"0 - kernel\",\"treeId\":\"0_proc_root\",\"type\":\"events\","
        "\"class\":\"proc:events\",\"tip\":\"FTrace Markers\",\"show\":1,"
        "\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},\"data\":[[2.75,5,\"frame\",\"\",],]}"
        "\n,{\"id\":\"proc-100-r0\"," + app + "\"type\":\"binary\",\"class\":\"proc:running\",\"show\":1,"
        "\"tip\":\"Running on CPU 0\"," + black + ",\"data\":[[1.000000, 1],[2.800000, 0]]}"
        "\n,{\"id\":\"proc-100-d\"," + app + "\"type\":\"binary\",\"class\":\"proc:wait\","
        "\"tip\":\"Waiting for I/O\",\"show\":1,\"hints\":{\"white\":\"#b0e0e6\",\"black\":\"#b0e0e6\"},"
        "\"data\":[[2.800000,1],[2.900000,0]]}"
        "\n,{\"id\":\"proc-100-w\"," + app + "\"type\":\"binary\",\"class\":\"proc:wait\","
        "\"tip\":\"Waiting for CPU\",\"show\":1,\"hints\":{\"white\":\"#f0c44c\",\"black\":\"#f0e68c\"},"
        "\"data\":[[2.900000,1]]}"
        "\n,{\"id\":\"proc-100-g\"," + app + "\"type\":\"binary\",\"tip\":\"Waiting for GPU\","
        "\"class\":\"proc:wait\",\"show\":1,\"hints\":{\"white\":\"#db7093\",\"black\":\"#db7093\"},"
        "\"data\":[[2.600000,1],[2.700000,0]]}"
        "\n,{\"id\":\"proc-100-i1\"," + app + "\"type\":\"marker\",\"class\":\"proc:issue\",\"show\":1,"
        "\"tip\":\"GL Issue\",\"hints\":{\"white\":\"#00ff00\",\"black\":\"#00ff00\"},\"data\":[[2.500000,2]]}"
        "\n,{\"id\":\"proc-100-e\"," + app + "\"type\":\"events\",\"class\":\"proc:events\","
        "\"tip\":\"FTrace Markers\",\"show\":1,\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},"
        "\"data\":[[2.65,7,\"draw\",\"a,b\",],]}" +
        // The cycle counter keeps its code; the unused level-one counter 4 is left out.
        counter(0, "11", 900) + counter(1, "L1 miss", 1) + counter(2, "4b", 2) + counter(3, "L1 miss", 3) +
        counter(5, "L2 miss", 5) + counter(6, "6d", 6) +
        "\n,{\"id\":\"evt\",\"name\":\"FTrace Events\",\"treeId\":\"evt_root\",\"type\":\"events\","
        "\"class\":\"proc:events\",\"tip\":\"FTrace Events\",\"show\":1,"
        "\"hints\":{\"white\":\"#cd5c5c\",\"black\":\"#cd5c5c\"},"
        "\"data\":[[2.65,7,\"draw\",\"a,b\",],[2.75,5,\"frame\",\"\",],]}"
        ",]}\n";
    EXPECT_EQ(r.output, expected);
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
    at(12, 31, kFrequency, B::u32(1512000) + B::u32(16));                    // for CPU 16
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
    auto cpu = [](int n, const char* series, const std::string& rest) {
        const std::string c = std::to_string(n);
        const bool busy = *series == 'b';
        return "{\"id\":\"cpu-" + c + "-" + series + "\",\"name\":\"CPU " + c +
               (busy ? " Busy\",\"treeId\":\"b_" : " Frequency\",\"treeId\":\"f_") + c +
               (busy ? "_cpu_root\",\"type\":\"binary\",\"class\":\"cpu:busy\",\"show\":1,"
                     : "_cpu_root\",\"type\":\"bar\",\"class\":\"cpu:freq\",\"show\":1,\"tip\":\"MHz\",") +
               "\"hints\":{},\"data\":[" + rest + "]}";
    };
    const std::string expected =
        "\n{\"entries\":[\n" +
        cpu(15, "b", "[1.000000,1],[1.100000,0],[1.600000,1],[1.700000,0]") + "\n," +
        cpu(15, "f", "[1.800000,800]") + "\n," + cpu(16, "b", "[1.100000,1]") + "\n," +
        cpu(16, "f", "[1.200000,1512]") + "\n," + cpu(31, "b", "[1.400000,1],[1.500000,0]") +
        "\n,{\"id\":\"cpu-31-s-0\",\"name\":\"CPU 31 Idle State\",\"treeId\":\"s_31_cpu_root\",\"type\":\"binary\","
        "\"class\":\"cpu:idle\",\"show\":1,\"tip\":\"Wait For Interrupt\","
        "\"hints\":{\"white\":\"#ffffdc\",\"black\":\"#555555\"},\"data\":[[1.300000,1]]}"
        "\n,{\"id\":\"irq-40-15\",\"name\":\"gpio\",\"treeId\":\"40_irq_root\",\"type\":\"binary\",\"class\":\"irq\","
        "\"show\":0,\"tip\":\"Running on CPU 15\",\"hints\":{},\"data\":[[1.600000,1],[1.700000,0]]}"
        "\n,{\"id\":\"proc-100-r15\",\"name\":\"100 - app\",\"treeId\":\"100_proc_root\",\"type\":\"binary\","
        "\"class\":\"proc:running\",\"show\":0,\"tip\":\"Running on CPU 15\",\"hints\":{},"
        "\"data\":[[1.000000, 1],[1.100000, 0]]},]}\n";
    EXPECT_EQ(r.output, expected);
}

}  // namespace
