// Writes the seed inputs of record_walk_fuzz into a folder: small recordings
// made with the test builder, each behind the one option byte of the target
// (bit 0 timechart mode, bit 1 kernel 3.10, bit 2 ARM64, bit 3 -I).
//
//   make_seeds DIRECTORY
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "PerfDataBuilder.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

namespace {

enum : char { kProfile = 0, kTimechart = 1, kKernel310 = 2, kArm64 = 4, kSkipFirst = 8 };

// Event numbers of the table in the trace recordings.
enum : uint16_t {
    kSwitch = 61,
    kWakeup = 62,
    kWakeupNew = 63,
    kNewtask = 64,
    kRename = 65,
    kSwitchCounters = 66,
    kCpuIdle = 70,
    kCpuFrequency = 71,
    kIrqEntry = 72,
    kIrqExit = 73,
    kSoftirqEntry = 74,
    kSoftirqExit = 75,
    kGpuIrq = 80,
    kGpuPwrlevel = 81,
    kGpuIssue = 82,
    kGpuWaitEntry = 83,
    kGpuWaitExit = 84,
    kGpuRail = 85,
    kGpuA3xx = 86,
};

// Processes and maps of a small device, with samples in the kernel, in an
// executable, in a relocatable library, on the stack and in no map at all.
void profileRecords(B& b, size_t samples)
{
    b.comm(1, 1, "init");
    b.comm(812, 812, "surfaceflinger");
    b.comm(812, 830, "Binder_1 (deleted)");
    b.comm(0, 0, "swapper");
    b.mmap(812, 812, 0x00008000, 0x00040000, 0, "/system/bin/surfaceflinger");
    b.mmap(812, 812, 0x40000000, 0x00080000, 0, "/system/lib/libc.so");
    b.mmap(812, 830, 0x48000000, 0x00010000, 0x1000, "/data/app/lib/libgame.so (deleted)");
    b.mmap(0, 0, 0xC0008000, 0x00800000, 0, "[kernel.kallsyms]_text");
    uint64_t time = 120000000000ULL;
    for (uint32_t i = 0; i < samples; i++) {
        time += 1000000 + i * 977;
        const uint32_t cpu = i % 4;
        switch (i % 5) {
        case 0:
            b.sample(0x00008400 + i * 4, 812, 812, time, cpu, 100000,
                     {0xFFFFFFFFFFFFFE00ULL, 0x00008400 + i * 4, 0x40012000, 0x00009000});
            break;
        case 1:
            b.sample(0xC0008100 + i, 0, 0, time, cpu, 100000, {0xFFFFFFFFFFFFFF80ULL, 0xC0008100 + i, 0xFFFF0010});
            break;
        case 2:
            b.sample(0xB0001000, 812, 830, time, cpu, 100000, {0xB0001000, 0x48000200, 0x20});
            break;
        case 3:
            // A process without COMM or maps: synthetic 64 KiB units, and one below 0x10000.
            b.sample(0x00123456, 900, 901, time, 16, 1, {0x00123456, 0x00124000, 0x00000400});
            break;
        default:
            b.sample(0x40020000, 812, 812, time, cpu, 100000, {0x40020000});
            break;
        }
    }
}

void eventTable(B& b)
{
    b.eventType(kSwitch, "sched:sched_switch")
        .eventType(kWakeup, "sched:sched_wakeup")
        .eventType(kWakeupNew, "sched:sched_wakeup_new")
        .eventType(kNewtask, "task:task_newtask")
        .eventType(kRename, "task:task_rename")
        .eventType(kSwitchCounters, "perf_trace_counters:sched_switch_with_ctrs")
        .eventType(kCpuIdle, "power:cpu_idle")
        .eventType(kCpuFrequency, "power:cpu_frequency")
        .eventType(kIrqEntry, "irq:irq_handler_entry")
        .eventType(kIrqExit, "irq:irq_handler_exit")
        .eventType(kSoftirqEntry, "irq:softirq_entry")
        .eventType(kSoftirqExit, "irq:softirq_exit")
        .eventType(kGpuIrq, "kgsl:kgsl_irq")
        .eventType(kGpuPwrlevel, "kgsl:kgsl_pwrlevel")
        .eventType(kGpuIssue, "kgsl:kgsl_issueibcmds")
        .eventType(kGpuWaitEntry, "kgsl:kgsl_waittimestamp_entry")
        .eventType(kGpuWaitExit, "kgsl:kgsl_waittimestamp_exit")
        .eventType(kGpuRail, "kgsl:kgsl_rail")
        .eventType(kGpuA3xx, "kgsl:kgsl_a3xx_irq_status");
}

// A payload that starts with a location word naming `text`, which follows
// the payload's other fields inside the raw area.
std::string named(uint16_t type, const std::string& fields, const std::string& text, bool k310)
{
    return B::rawArea(type, payload::withText(B::u32(0) + fields, 0, text, k310), k310);
}

// Scheduler, task, power, interrupt and GPU trace-points of two CPUs.
void traceRecords(B& b, bool k310, bool wide)
{
    using namespace payload;
    const uint32_t l1[4] = {10, 20, 30, 40};
    const uint32_t l2[2] = {5, 6};
    uint64_t t = 500000000000ULL;
    auto tp = [&](uint32_t pid, uint32_t cpu, const std::string& raw) {
        t += 250000;
        b.tracepoint(0xC0008100, pid, pid, t, cpu, raw, 0x1000 + cpu);
    };
    b.comm(100, 100, "app");
    tp(100, 0,
       B::rawArea(kNewtask,
                  wide ? taskNewtask64(101, "worker", kCloneThread) : taskNewtask(101, "worker", kCloneThread), k310));
    tp(100, 0, B::rawArea(kWakeupNew, schedWakeup(101, "worker"), k310));
    tp(0, 0,
       B::rawArea(kSwitch,
                  wide ? schedSwitch64(0, 0, 100, "swapper/0", "app") : schedSwitch(0, 0, 100, "swapper/0", "app"),
                  k310));
    tp(0, 1,
       B::rawArea(
           kSwitch,
           wide ? schedSwitch64(0, 0, 101, "swapper/1", "worker") : schedSwitch(0, 0, 101, "swapper/1", "worker"),
           k310));
    // The interrupt's name: a location word behind the number, counted from the start of the raw area.
    const uint32_t nameAt = (k310 ? 8 : 12) + 8;
    tp(100, 0, B::rawArea(kIrqEntry, B::u32(30) + B::u32(nameAt | (6u << 16)) + "timer" + '\0', k310));
    tp(100, 0, B::rawArea(kIrqExit, B::u32(30) + B::u32(1), k310));
    tp(100, 0, B::rawArea(kSoftirqEntry, B::u32(1), k310));
    tp(100, 0, B::rawArea(kSoftirqExit, B::u32(1), k310));
    tp(101, 1, B::rawArea(kRename, taskRename(101, "worker", "render"), k310));
    tp(101, 1, B::rawArea(kSwitchCounters, switchWithCounters(101, 0, 123456, l1, l2), k310));
    tp(101, 1,
       B::rawArea(
           kSwitch,
           wide ? schedSwitch64(101, 1, 0, "render", "swapper/1") : schedSwitch(101, 1, 0, "render", "swapper/1"),
           k310));
    tp(0, 1, B::rawArea(kCpuIdle, B::u32(1) + B::u32(1), k310));
    tp(0, 1, B::rawArea(kCpuFrequency, B::u32(1200000) + B::u32(1), k310));
    tp(100, 0, B::rawArea(kWakeup, schedWakeup(101, "render"), k310));
    tp(100, 0, named(kGpuRail, B::u32(1), "kgsl-3d0", k310));
    tp(100, 0, named(kGpuPwrlevel, B::u32(0) + B::u32(400000000), "kgsl-3d0", k310));
    tp(100, 0,
       named(kGpuIssue, B::u32(0) + B::u32(0) + B::u32(0) + B::u32(0) + B::u32(2) + B::u32(0) + B::u32(1), "kgsl-3d0",
             k310));
    tp(100, 0, B::rawArea(kGpuWaitEntry, B::u32(0) + B::u32(0) + B::u32(0), k310));
    tp(100, 0, named(kGpuIrq, B::u32(1), "kgsl-3d0", k310));
    tp(100, 0, named(kGpuA3xx, B::u32(0x10), "kgsl-3d0", k310));
    tp(100, 0, B::rawArea(kGpuWaitExit, B::u32(0) + B::u32(0), k310));
    tp(101, 1,
       B::rawArea(
           kSwitch,
           wide ? schedSwitch64(0, 0, 101, "swapper/1", "render") : schedSwitch(0, 0, 101, "swapper/1", "render"),
           k310));
    // A trace-point of a number the table does not hold, and one past it.
    tp(100, 0, B::rawArea(3999, schedWakeup(5), k310));
    tp(100, 0, B::rawArea(4001, schedWakeup(5), k310));
}

std::vector<std::pair<std::string, std::string>> seeds()
{
    std::vector<std::pair<std::string, std::string>> out;
    auto add = [&](const std::string& name, char options, const B& b) { out.emplace_back(name, options + b.bytes()); };

    B profile;
    profile.attributes(112).eventType(0, "cycles");
    profileRecords(profile, 20);
    add("profile", kProfile, profile);
    add("profile-skip-first", kProfile | kSkipFirst, profile);
    add("profile-as-timechart", kTimechart, profile);

    for (int k310 = 0; k310 < 2; k310++) {
        for (int wide = 0; wide < 2; wide++) {
            B trace;
            trace.attributes(k310 ? 136 : 112);
            eventTable(trace);
            traceRecords(trace, k310 != 0, wide != 0);
            std::string name = std::string("trace") + (k310 ? "-310" : "-304") + (wide ? "-arm64" : "");
            const char options = (char)(kTimechart | (k310 ? kKernel310 : 0) | (wide ? kArm64 : 0));
            add(name, options, trace);
            if (!k310 && !wide)
                add(name + "-profile", kProfile, trace);
        }
    }

    // Damaged framing: junk, sizes out of range, types 0, 16, 17 and unregistered ones, a cut last record.
    B damaged;
    damaged.comm(7, 7, "victim");
    damaged.junk(std::string("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c", 12));
    damaged.header(3, 11).header(0, 24, std::string(16, '\x11')).header(17, 16, std::string(8, 'x'));
    damaged.header(16, 16, std::string(8, '\0')).record(2, std::string(8, '\0')).record(15, std::string(24, 'z'));
    damaged.mmap(7, 7, 0x8000, 0x1000, 0, "/bin/victim");
    damaged.header(9, 257, std::string(32, '\0'));
    damaged.sample(0x8010, 7, 7, 1000, 0, 1, {0x8010, 0x8020});
    damaged.junk(B::u32(9) + B::u16(0) + B::u16(200) + std::string(40, '\0'));
    add("damaged", kProfile, damaged);

    // Records longer than 256 bytes, genuine ones, and a chain of 100 entries with a depth beyond 15.
    B longRecords;
    longRecords.comm(8, 8, std::string(300, 'n'));
    longRecords.mmap(8, 8, 0x10000, 0x10000, 0, "/system/lib/" + std::string(280, 'l') + ".so");
    longRecords.comm(9, 9, "after");
    std::vector<uint64_t> chain(100, 0x10040);
    longRecords.sample(0x10040, 8, 8, 5000, 1, 1, chain);
    longRecords.sample(0x10040, 9, 9, 6000, 2, 1, std::vector<uint64_t>(16, 0x10080));
    add("long-records", kProfile, longRecords);

    // Odd event tables: growth past 4000, numbers beyond what samples can
    // name, a number of 2^32 and more that shrinks the table, repeats, a
    // table cut short of a whole entry, and a data offset ahead of the table.
    B grow;
    grow.eventType(5000, "sched:sched_wakeup")
        .eventType(70000, "sched:sched_switch")
        .eventType(5000, "task:task_rename");
    grow.tracepoint(0, 1, 1, 10, 0, B::rawArea(5000, payload::taskRename(1, "a", "b")));
    add("table-grows", kTimechart, grow);
    B shrink;
    shrink.eventType(kWakeup, "sched:sched_wakeup").eventType(0x100000000ull + 100, "sched:sched_switch");
    shrink.tracepoint(0, 1, 1, 10, 0, B::rawArea(kWakeup, payload::schedWakeup(2)));
    add("table-shrinks", kTimechart, shrink);
    B cut;
    cut.attributes(8).eventType(kWakeup, "sched:sched_wakeup").eventType(kSwitch, "sched:sched_switch");
    cut.dataOffset(104 + 8 + 72 + 40);
    add("table-cut", kTimechart, cut);
    B ahead;
    ahead.eventType(kWakeup, "sched:sched_wakeup").dataOffset(48);
    ahead.tracepoint(0, 1, 1, 10, 0, B::rawArea(kWakeup, payload::schedWakeup(2)));
    add("table-wraps", kTimechart, ahead);

    // A piped recording's shape: a 16-byte header, then records, some longer than 256 bytes.
    std::string piped = std::string("PERFILE2") + B::u64(16);
    piped += B::u32(64) + B::u16(0) + B::u16(136 + 8) + std::string(136, '\0');
    piped += B::u32(3) + B::u16(0) + B::u16(32) + B::u32(77) + B::u32(77) + B::text8("perf-exec");
    piped += B::u32(9) + B::u16(0) + B::u16(64) + B::u64(0xC0008100) + B::u32(77) + B::u32(77) + B::u64(999) +
             B::u32(1) + B::u32(0) + B::u64(1) + B::u64(1) + B::u64(0xC0008100);
    out.emplace_back("piped", std::string(1, kProfile) + piped);
    out.emplace_back("piped-timechart", std::string(1, kTimechart) + piped);
    return out;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    for (const auto& [name, bytes] : seeds()) {
        std::ofstream file(std::string(argv[1]) + "/" + name, std::ios::binary | std::ios::trunc);
        file.write(bytes.data(), (std::streamsize)bytes.size());
        if (!file) {
            perror(name.c_str());
            return 1;
        }
    }
    return 0;
}
