#include "IRQChart.h"

#include <algorithm>
#include <string>

#include "ChartEntryWriter.h"
#include "CpuColour.h"
#include "TimechartManager.h"

using Entry = ChartEntryWriter;

IRQChart::IRQChart(int irq) : _irq(irq) {}

// The series have one place per CPU; a sample of any other CPU is dropped.
void IRQChart::addValue(unsigned long long time, int value, int cpu)
{
    double x;
    if (cpu < 0 || cpu >= kCpus || !chartTime((uint64_t)time, x))
        return;
    _series[cpu].push_back({x, (unsigned int)value});
}

// The name is fetched once, even for a chart whose samples all fell outside
// the window, so an unnamed interrupt reports its one line and shows "IRQ".
// A series that thins to no point, such as an exit whose entry was cut off,
// still writes its entry.
void IRQChart::outIRQChart(PerfJSONWriter& writer)
{
    for (auto& series : _series)
        std::stable_sort(series.begin(), series.end(), compareChartEntries);
    const std::string name = TimechartManager::Instance()->getIRQName(_irq);
    for (int cpu = 0; cpu < kCpus; cpu++) {
        if (_series[cpu].empty())
            continue;
        const CpuColour colour = cpuColour(cpu);
        Entry(writer)
            .text("id", Entry::format("irq-%d-%d", _irq, cpu))
            .text("name", name)
            .text("treeId", Entry::format("%d_irq_root", _irq))
            .text("type", "binary")
            .text("class", "irq")
            .number("show", 0)
            .text("tip", Entry::format("Running on CPU %d", cpu))
            .hints(colour.white, colour.black)
            .changesOnly(_series[cpu], "[%f,%u]", true);
    }
}
