// One GPU core of the kgsl driver, named by the two numbers of its device
// name ("kgsl-3d0" is dimension 3, device 0, written "GPU-3D0"): its power
// state, clock frequency, interrupts and the work issued to it.
#ifndef ZELCONV_GPUCHART_H
#define ZELCONV_GPUCHART_H

#include <vector>

#include "ChartEntryS.h"

class PerfJSONWriter;

class GPUChart {
public:
    static constexpr int kPowerStates = 5;
    static constexpr int kIssueKinds = 4;
    static constexpr int kIrqKinds = 3;

    GPUChart(int dimension, int device);

    // 10 to 13 work issued (`sub` 1 ends a frame), 17 to 19 an interrupt,
    // 30 to 34 a power state entered, 35 the frequency in MHz as `sub`;
    // any other status stores nothing.
    void addStatus(unsigned long long time, int status, unsigned int sub);
    void outGPUChart(PerfJSONWriter& writer);

    int _dimension;
    int _device;
    std::vector<ChartEntryS> _power[kPowerStates];  // the rungs of the power ladder, off to fully on
    std::vector<ChartEntryS> _issue[kIssueKinds];
    std::vector<ChartEntryS> _irqs[kIrqKinds];
    std::vector<ChartEntryS> _frequency;
};

#endif
