// Writes a recording of many MMAP records for the benchmark of the map
// table: 1,000 processes whose maps arrive in a scattered order of process
// and address, so that each one lands among the earlier ones, and samples
// that look addresses up in them.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "PerfDataBuilder.h"

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: %s OUTPUT [MAPS] [SAMPLES]\n", argv[0]);
        return 2;
    }
    const unsigned long maps = argc > 2 ? strtoul(argv[2], nullptr, 10) : 1000000;
    const unsigned long samples = argc > 3 ? strtoul(argv[3], nullptr, 10) : 100000;
    const unsigned processes = 1000;
    const unsigned long slots = maps / processes + 1;  // map places per process, 64 KiB apart
    PerfDataBuilder b;
    b.attributes(112).eventType(0, "cycles");
    for (unsigned p = 0; p < processes; p++)
        b.comm(2000 + p, 2000 + p, "proc" + std::to_string(p));
    unsigned seed = 4321;
    auto next = [&seed]() {
        seed = seed * 1103515245u + 12345u;
        return seed >> 8;
    };
    // Slot s of process p, in an order that visits every slot once and jumps about.
    const unsigned long total = slots * processes;
    const unsigned long stride = 7919;  // a prime that divides none of the totals used
    for (unsigned long i = 0; i < maps; i++) {
        const unsigned long cell = (i * stride) % total;
        const uint32_t pid = 2000 + (uint32_t)(cell % processes);
        const uint64_t start = 0x40000000ULL + (cell / processes) * 0x10000ULL;
        b.mmap(pid, pid, start, 0x8000, 0, "/bench/maps/lib" + std::to_string(cell % 100) + ".so");
    }
    unsigned long long time = 1000000000ULL;
    for (unsigned long i = 0; i < samples; i++) {
        const uint32_t pid = 2000 + next() % processes;
        const uint64_t ip = 0x40000000ULL + (next() % slots) * 0x10000ULL + 0x100;
        time += 100000;
        b.sample(ip, pid, pid, time, i % 4, 100000, {ip});
    }
    b.writeTo(argv[1]);
    return 0;
}
