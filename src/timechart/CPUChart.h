// One CPU: whether it was busy, at what frequency it ran, and which idle
// state it was in.
#ifndef ZELCONV_CPUCHART_H
#define ZELCONV_CPUCHART_H

#include <vector>

#include "ChartEntryS.h"

class PerfJSONWriter;

class CPUChart {
public:
    static constexpr int kIdleStates = 4;

    explicit CPUChart(int cpu);

    // `kind` 40 is busy, 41 the frequency in MHz, 42 and above an idle state; below 40 stores nothing.
    void addValue(unsigned long long time, int kind, int value);
    // The value last appended to the busy series (not yet sorted), or 0.
    int getBusyState();
    void outCPUChart(PerfJSONWriter& writer);

    int _cpu;
    int _lastIdle;  // index of the idle series last entered, -1 for none
    std::vector<ChartEntryS> _busy;
    std::vector<ChartEntryS> _frequency;
    std::vector<ChartEntryS> _idle[kIdleStates];
};

#endif
