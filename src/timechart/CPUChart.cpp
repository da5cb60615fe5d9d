#include "CPUChart.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "ChartEntryWriter.h"
#include "CpuColour.h"
#include "PerfJSONWriter.h"
#include "TimechartManager.h"

namespace {

using Entry = ChartEntryWriter;

const char* const kPoint = "[%f,%u]";

struct IdleLook {
    const char* tip;
    const char* white;
    const char* black;
};

const IdleLook kIdle[CPUChart::kIdleStates] = {
    {"Wait For Interrupt", "#ffffdc", "#555555"},
    {"Retention", "#e0ffe0", "#005500"},
    {"Standalone Power Collapse", "#cd5c5c", "#cd5c5c"},
    {"Power Collapse", "#8fbc8f", "#8fbc8f"},
};

}  // namespace

CPUChart::CPUChart(int cpu) : _cpu(cpu), _lastIdle(-1) {}

void CPUChart::addValue(unsigned long long time, int kind, int value)
{
    double x;
    if (!chartTime((uint64_t)time, x))
        return;
    if (kind < TimechartManager::kCpuBusy)
        return;
    if (kind == TimechartManager::kCpuBusy) {
        _busy.push_back({x, (unsigned int)value});
        return;
    }
    if (kind == TimechartManager::kCpuFrequency) {
        _frequency.push_back({x, (unsigned int)value});
        return;
    }
    // Idle: 0 leaves the state last entered, 1 to 4 enter states 0 to 3;
    // anything else, and 0 before any state was entered, is dropped.
    if (value == 0 && _lastIdle != -1) {
        _idle[_lastIdle].push_back({x, 0});
    } else if (value >= 1 && value <= kIdleStates) {
        _lastIdle = value - 1;
        _idle[_lastIdle].push_back({x, 1});
    }
}

int CPUChart::getBusyState() { return _busy.empty() ? 0 : (int)_busy.back().value; }

// An empty series writes nothing; any other writes its entry, even if no
// point survives the thinning.
void CPUChart::outCPUChart(PerfJSONWriter& writer)
{
    const CpuColour colour = cpuColour(_cpu);
    if (!_busy.empty()) {
        std::stable_sort(_busy.begin(), _busy.end(), compareChartEntries);
        Entry(writer)
            .text("id", Entry::format("cpu-%d-b", _cpu))
            .text("name", Entry::format("CPU %d Busy", _cpu))
            .text("treeId", Entry::format("b_%d_cpu_root", _cpu))
            .text("type", "binary")
            .text("class", "cpu:busy")
            .number("show", 1)
            .hints(colour.white, colour.black)
            .changesOnly(_busy, kPoint, true);
    }
    if (!_frequency.empty()) {
        std::stable_sort(_frequency.begin(), _frequency.end(), compareChartEntries);
        Entry(writer)
            .text("id", Entry::format("cpu-%d-f", _cpu))
            .text("name", Entry::format("CPU %d Frequency", _cpu))
            .text("treeId", Entry::format("f_%d_cpu_root", _cpu))
            .text("type", "bar")
            .text("class", "cpu:freq")
            .number("show", 1)
            .text("tip", "MHz")
            .hints(colour.white, colour.black)
            .changesOnly(_frequency, kPoint, true);
    }
    for (int i = 0; i < kIdleStates; i++) {
        if (_idle[i].empty())
            continue;
        std::stable_sort(_idle[i].begin(), _idle[i].end(), compareChartEntries);
        Entry(writer)
            .text("id", Entry::format("cpu-%d-s-%d", _cpu, i))
            .text("name", Entry::format("CPU %d Idle State", _cpu))
            .text("treeId", Entry::format("s_%d_cpu_root", _cpu))
            .text("type", "binary")
            .text("class", "cpu:idle")
            .number("show", 1)
            .text("tip", kIdle[i].tip)
            .hints(kIdle[i].white, kIdle[i].black)
            .changesOnly(_idle[i], kPoint, true);
    }
}
