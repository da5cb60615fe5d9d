// Writes a large profile recording for the benchmark: plain samples with
// full back-traces over many maps and processes.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "PerfDataBuilder.h"

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: %s OUTPUT [SAMPLES]\n", argv[0]);
        return 2;
    }
    const unsigned long samples = argc > 2 ? strtoul(argv[2], nullptr, 10) : 1000000;
    const unsigned processes = 20;
    const unsigned mapsPerProcess = 50 / processes + 1;  // 50 maps: 10 processes with 3, 10 with 2
    PerfDataBuilder b;
    b.attributes(112).eventType(0, "cycles");
    unsigned maps = 0;
    for (unsigned p = 0; p < processes; p++) {
        uint32_t pid = 1000 + p;
        b.comm(pid, pid, "proc" + std::to_string(p));
        for (unsigned m = 0; m < mapsPerProcess && maps < 50; m++, maps++)
            b.mmap(pid, pid, 0x40000000ULL + m * 0x01000000ULL, 0x00800000, 0,
                   "/bench/lib" + std::to_string(maps % 25) + ".so");
    }
    unsigned long long time = 1000000000ULL;
    unsigned seed = 12345;
    for (unsigned long i = 0; i < samples; i++) {
        seed = seed * 1103515245u + 12345u;
        uint32_t pid = 1000 + (seed >> 8) % processes;
        unsigned mapsOfPid = (pid - 1000) < 10 ? 3 : 2;
        std::vector<uint64_t> chain;
        for (unsigned d = 0; d < 15; d++) {
            seed = seed * 1103515245u + 12345u;
            unsigned m = (seed >> 4) % mapsOfPid;
            chain.push_back(0x40000000ULL + m * 0x01000000ULL + ((seed >> 8) % 5000) * 0x400 + 0x10);
        }
        time += 100000;
        b.sample(chain[0], pid, pid, time, i % 4, 100000, chain);
    }
    b.writeTo(argv[1]);
    return 0;
}
