// Writes a large scheduler trace for the timechart benchmark: context
// switches and wake-ups over several CPUs and many processes, in the layouts
// of a 64-bit kernel from 3.10 on (convert it with kern_ver=3.10 ARM64=y).
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "PerfDataBuilder.h"
#include "TracePayloads.h"

using B = PerfDataBuilder;

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: %s OUTPUT [EVENTS] [CPUS] [PROCESSES]\n", argv[0]);
        return 2;
    }
    const unsigned long events = argc > 2 ? strtoul(argv[2], nullptr, 10) : 2000000;
    const unsigned cpus = argc > 3 ? (unsigned)strtoul(argv[3], nullptr, 10) : 8;
    const unsigned processes = argc > 4 ? (unsigned)strtoul(argv[4], nullptr, 10) : 500;
    const uint16_t kSwitch = 316, kWakeup = 318;

    B b;
    b.attributes(112).eventType(kSwitch, "sched:sched_switch").eventType(kWakeup, "sched:sched_wakeup");
    std::vector<uint32_t> current(cpus, 0);
    unsigned seed = 12345;
    auto next = [&seed]() {
        seed = seed * 1103515245u + 12345u;
        return seed >> 8;
    };
    unsigned long long time = 1000000000ULL;
    for (unsigned long i = 0; i < events; i++) {
        const uint32_t cpu = next() % cpus;
        time += 1000 + next() % 1000;
        const uint32_t pid = 1000 + next() % processes;
        if (next() % 4 == 0) {
            // A wake-up: name, pid, priority, target CPU.
            const std::string payload = B::fixed("task", 16) + B::u32(pid) + B::u32(120) + B::u32(cpu);
            b.tracepoint(0, current[cpu], current[cpu], time, cpu, B::rawArea(kWakeup, payload, true));
            continue;
        }
        // A switch to a task, or now and then to the idle task.
        const uint32_t to = next() % 10 == 0 ? 0 : pid;
        const std::string payload = payload::schedSwitch64((int32_t)current[cpu], next() % 3, (int32_t)to);
        b.tracepoint(0, current[cpu], current[cpu], time, cpu, B::rawArea(kSwitch, payload, true));
        current[cpu] = to;
    }
    b.writeTo(argv[1]);
    return 0;
}
