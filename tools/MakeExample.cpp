// Writes the bundled example recording: two processes with their maps and a
// few hundred samples with back-traces, as a 32-bit ARM device records them.
#include <cstdio>
#include <string>

#include "PerfDataBuilder.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s OUTPUT\n", argv[0]);
        return 2;
    }
    PerfDataBuilder b;
    b.attributes(112).eventType(0, "cycles");
    b.comm(1, 1, "init");
    b.comm(812, 812, "surfaceflinger");
    b.comm(812, 830, "Binder_1");
    b.comm(1204, 1204, "com.example.app");
    b.mmap(812, 812, 0x00008000, 0x00040000, 0, "/system/bin/surfaceflinger");
    b.mmap(812, 812, 0x40000000, 0x00080000, 0, "/system/lib/libc.so");
    b.mmap(1204, 1204, 0x00008000, 0x00010000, 0, "/system/bin/app_process");
    b.mmap(1204, 1204, 0x40000000, 0x00080000, 0, "/system/lib/libc.so");
    b.mmap(1204, 1204, 0x48000000, 0x00200000, 0, "/data/app/com.example.app/lib/libgame.so");

    uint64_t time = 120000000000ULL;  // 120 s after boot
    for (uint32_t i = 0; i < 300; i++) {
        time += 1000000 + (i % 7) * 13007;
        uint32_t cpu = i % 4;
        switch (i % 3) {
        case 0:
            b.sample(0x00008400 + (i % 40) * 4, 812, i % 2 ? 812 : 830, time, cpu, 100000,
                     {0xFFFFFFFFFFFFFE00ULL, 0x00008400 + (i % 40) * 4, 0x40012000 + (i % 5) * 16, 0x00009000});
            break;
        case 1:
            b.sample(0x48010000 + (i % 64) * 8, 1204, 1204, time, cpu, 100000,
                     {0xFFFFFFFFFFFFFE00ULL, 0x48010000 + (i % 64) * 8, 0x48020000, 0x40030000, 0x00008800});
            break;
        default:
            b.sample(0xC0008000 + (i % 16) * 0x100, 0, 0, time, cpu, 100000,
                     {0xFFFFFFFFFFFFFF80ULL, 0xC0008000 + (i % 16) * 0x100, 0xC0010000});
            break;
        }
    }
    b.writeTo(argv[1]);
    return 0;
}
