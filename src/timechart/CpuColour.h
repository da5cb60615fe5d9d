// The colours of a CPU's rows, shared by the process, CPU and interrupt
// charts. CPUs from 4 up have none, and their "hints" object stays empty.
#ifndef ZELCONV_CPUCOLOUR_H
#define ZELCONV_CPUCOLOUR_H

struct CpuColour {
    const char* white;
    const char* black;
};

inline CpuColour cpuColour(int cpu)
{
    static const CpuColour kColours[] = {
        {"#000000", "#ffffff"},
        {"#4b0082", "#caa1e0"},
        {"#006400", "#badcba"},
        {"#232381", "#a3a3e6"},
    };
    if (cpu < 0 || cpu >= 4)
        return {nullptr, nullptr};
    return kColours[cpu];
}

#endif
