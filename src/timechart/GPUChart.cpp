#include "GPUChart.h"

#include <algorithm>
#include <string>

#include "ChartEntryWriter.h"
#include "TimechartManager.h"

namespace {

using Entry = ChartEntryWriter;

const char* const kPoint = "[%f,%u]";

struct Look {
    const char* tip;  // null: the entry has no "tip"
    const char* white;
    const char* black;
};

const Look kPower[GPUChart::kPowerStates] = {
    {"OFF", "#d3d3d3", "#444444"},
    {"ON", "#ffffdc", "#555555"},
    {"ON | AXI", "#e0ffe0", "#005500"},
    {"ON | CLK | AXI", "#cd5c5c", "#cd5c5c"},
    {"ON | CLK | AXI | IRQ", "#8fbc8f", "#8fbc8f"},
};

const Look kIrqs[GPUChart::kIrqKinds] = {
    {"IB1 Complete", "#bfbf34", "#e6e6a3"},
    {"RB Complete", "#815223", "#d69e67"},
    {nullptr, "#812323", "#e6a3a3"},
};

const Look kIssues[GPUChart::kIssueKinds] = {
    {nullptr, "#66ccff", "#66ccff"},
    {"GL", "#00ff00", "#00ff00"},
    {"CL", "#993CF3", "#993CF3"},
    {"C2D", "#f660ab", "#f660ab"},
};

void sortByTime(std::vector<ChartEntryS>& series)
{
    std::stable_sort(series.begin(), series.end(), compareChartEntries);
}

}  // namespace

GPUChart::GPUChart(int dimension, int device) : _dimension(dimension), _device(device) {}

void GPUChart::addStatus(unsigned long long time, int status, unsigned int sub)
{
    double x;
    if (!chartTime((uint64_t)time, x))
        return;
    const int issue = status - (int)TimechartManager::kStatusIssue;
    const int irq = status - TimechartManager::kGpuIrq;
    const int power = status - TimechartManager::kGpuPower;
    if (issue >= 0 && issue < kIssueKinds) {
        _issue[issue].push_back({x, sub == 1 ? 2u : 1u});
    } else if (irq >= 0 && irq < kIrqKinds) {
        _irqs[irq].push_back({x, 1});
    } else if (power >= 0 && power < kPowerStates) {
        // The rung entered first, then a 0 on each other rung; the stable
        // sort keeps this order among samples of one time.
        _power[power].push_back({x, 1});
        for (int other = 0; other < kPowerStates; other++)
            if (other != power)
                _power[other].push_back({x, 0});
    } else if (status == TimechartManager::kGpuFrequency) {
        _frequency.push_back({x, sub});
    }
}

// Power and frequency are step series, written change-only and only once
// they have a point; interrupts and issues are marks, each one written.
void GPUChart::outGPUChart(PerfJSONWriter& writer)
{
    for (auto& series : _power)
        sortByTime(series);
    sortByTime(_frequency);
    for (auto& series : _irqs)
        sortByTime(series);
    for (auto& series : _issue)
        sortByTime(series);
    const int d = _dimension;
    const int v = _device;

    for (int i = 0; i < kPowerStates; i++)
        Entry(writer)
            .text("id", Entry::format("gpu-%d-%d-p%d", d, v, i))
            .text("name", Entry::format("GPU-%dD%d Power State", d, v))
            .text("treeId", Entry::format("power_GPU-%dD%d_kgsl_root", d, v))
            .text("type", "binary")
            .text("class", "gpu:power")
            .number("show", 1)
            .text("tip", kPower[i].tip)
            .hints(kPower[i].white, kPower[i].black)
            .changesOnly(_power[i], kPoint, false);

    Entry(writer)
        .text("id", Entry::format("gpu-%d-%d-f", d, v))
        .text("name", Entry::format("GPU-%dD%d Frequency", d, v))
        .text("treeId", Entry::format("freq_GPU-%dD%d_kgsl_root", d, v))
        .text("type", "bar")
        .text("class", "gpu:freq")
        .number("show", 1)
        .text("tip", "MHz")
        .hints("#8fbc8f", "#8fbc8f")
        .changesOnly(_frequency, kPoint, false);

    for (int i = 0; i < kIrqKinds; i++) {
        if (_irqs[i].empty())
            continue;
        Entry entry(writer);
        entry.text("id", Entry::format("gpu-%d-%d-q%d", d, v, i))
            .text("name", Entry::format("GPU-%dD%d IRQ", d, v))
            .text("treeId", Entry::format("irq_GPU-%dD%d_kgsl_root", d, v))
            .text("type", "marker")
            .text("class", "gpu:irq")
            .number("show", 1);
        if (kIrqs[i].tip != nullptr)
            entry.text("tip", kIrqs[i].tip);
        entry.hints(kIrqs[i].white, kIrqs[i].black).allPoints(_irqs[i], kPoint);
    }

    for (int i = 0; i < kIssueKinds; i++) {
        if (_issue[i].empty())
            continue;
        Entry entry(writer);
        entry.text("id", Entry::format("gpu-%d-%d-i%d", d, v, i))
            .text("name", Entry::format("GPU-%dD%d Issue", d, v))
            .text("treeId", Entry::format("issue_GPU-%dD%d_kgsl_root", d, v))
            .text("type", "marker")
            .text("class", "gpu:issue")
            .number("show", 1);
        if (kIssues[i].tip != nullptr)
            entry.text("tip", kIssues[i].tip);
        entry.hints(kIssues[i].white, kIssues[i].black).allPoints(_issue[i], kPoint);
    }
}
