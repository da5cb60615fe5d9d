// One interrupt: when its handler ran, and on which CPU. Hard interrupts are
// charted by their number, soft ones by 1000 plus their vector.
#ifndef ZELCONV_IRQCHART_H
#define ZELCONV_IRQCHART_H

#include <vector>

#include "ChartEntryS.h"

class PerfJSONWriter;

class IRQChart {
public:
    static constexpr int kCpus = 16;

    explicit IRQChart(int irq);

    // 1 on entry, 0 on exit, on the CPU given; a CPU beyond the 16 places is dropped.
    void addValue(unsigned long long time, int value, int cpu);
    // One entry for each CPU that has samples.
    void outIRQChart(PerfJSONWriter& writer);

    int _irq;
    std::vector<ChartEntryS> _series[kCpus];
};

#endif
