#include "ProcessChart.h"

#include <algorithm>
#include <cstdio>

#include "ChartEntryWriter.h"
#include "CpuColour.h"
#include "PerfJSONWriter.h"
#include "PerfRecordComm.h"
#include "TimechartManager.h"

namespace {

using Entry = ChartEntryWriter;

// Every series but the running one uses the tight form.
const char* const kPoint = "[%f,%u]";
const char* const kRunningPoint = "[%f, %u]";

void sortByTime(std::vector<ChartEntryS>& series)
{
    std::stable_sort(series.begin(), series.end(), compareChartEntries);
}

struct IssueLook {
    const char* tip;
    const char* colour;
};

const IssueLook kIssues[ProcessChart::kIssueKinds] = {
    {"Issue", "#66ccff"},
    {"GL Issue", "#00ff00"},
    {"CL Issue", "#993CF3"},
    {"C2D Issue", "#f660ab"},
};

}  // namespace

// A chart made before the task's COMM record keeps these defaults until the
// manager's setters change them.
ProcessChart::ProcessChart(int pid) : _pid(pid), _ppid(pid)
{
    PerfRecordComm* record = PerfRecordComm::findProcessRecord(0, (unsigned int)pid);
    if (record != nullptr) {
        _ppid = (int)record->pid;
        const char* name = record->getName();
        _name = name != nullptr ? name : "";
    }
}

// The running series has one place per CPU. A CPU number beyond them stores
// nothing here, while the status's other series still get their samples.
void ProcessChart::_addRunning(unsigned int cpu, ChartEntryS sample)
{
    if (cpu < kCpus)
        _running[cpu].push_back(sample);
}

// A task is in one state at a time, so entering one writes 0 into the others.
// Samples at one time keep the order written here through the stable sort.
void ProcessChart::addStatus(unsigned long long time, unsigned int status, unsigned int cpu, unsigned int sub)
{
    double x;
    if (!chartTime((uint64_t)time, x))
        return;
    const bool issue =
        status >= TimechartManager::kStatusIssue && status < TimechartManager::kStatusIssue + kIssueKinds;
    const unsigned int value = issue && sub == 1 ? 2 : 1;
    switch (status) {
    case TimechartManager::kStatusRunning: {
        _addRunning(cpu, {x, value});
        // The CPU that still has this task as its last one gets a 0 at the same instant.
        const int from = TimechartManager::Instance()->pidMigratedFrom(_pid, (int)cpu);
        if (from != -1)
            _running[from].push_back({x, 0});
        _waitCpu.push_back({x, 0});
        _waitIo.push_back({x, 0});
        break;
    }
    case TimechartManager::kStatusWaitIo:
        _waitIo.push_back({x, value});
        _waitCpu.push_back({x, 0});
        _addRunning(cpu, {x, 0});
        break;
    case TimechartManager::kStatusWaitCpu:
        _waitCpu.push_back({x, value});
        _waitIo.push_back({x, 0});
        _addRunning(cpu, {x, 0});
        break;
    case TimechartManager::kStatusNotRunning:
        _waitCpu.push_back({x, 0});
        _waitIo.push_back({x, 0});
        _addRunning(cpu, {x, 0});
        break;
    case TimechartManager::kStatusWaitGpu:
        _waitGpu.push_back({x, value});
        break;
    case TimechartManager::kStatusGpuDone:
        _waitGpu.push_back({x, 0});
        break;
    default:
        if (issue)
            _issue[status - TimechartManager::kStatusIssue].push_back({x, value});
        break;
    }
}

// All seven series get a sample, so they share their length and times.
void ProcessChart::addCounters(unsigned long long time, unsigned int cycles, unsigned int* l1, unsigned int* l2)
{
    double x;
    if (!chartTime((uint64_t)time, x))
        return;
    _cycleCounter.push_back({x, cycles});
    for (unsigned int i = 0; i < kL1Counters; i++)
        _l1Counters[i].push_back({x, l1[i]});
    for (unsigned int i = 0; i < kL2Counters; i++)
        _l2Counters[i].push_back({x, l2[i]});
}

// Marker times are seconds as the trace file prints them, not raw stamps.
void ProcessChart::addEvent(double time, unsigned int code, std::string& name, std::string& args)
{
    double x;
    if (!chartTime(doTimeConversion(time), x))
        return;
    _events.push_back({x, code, name, args});
}

void ProcessChart::_sortSeries()
{
    for (auto& series : _running)
        sortByTime(series);
    for (auto& series : _issue)
        sortByTime(series);
    sortByTime(_waitIo);
    sortByTime(_waitCpu);
    sortByTime(_waitGpu);
    sortByTime(_cycleCounter);
    for (auto& series : _l1Counters)
        sortByTime(series);
    for (auto& series : _l2Counters)
        sortByTime(series);
}

void ProcessChart::outProcessChart(PerfJSONWriter& writer)
{
    _sortSeries();
    const std::string label = Entry::format("%d - ", _pid) + _name;
    const std::string treeId =
        _ppid == _pid ? Entry::format("%d_proc_root", _ppid) : Entry::format("%d_%d_proc_root", _pid, _ppid);
    bool shown = !_events.empty();
    for (const auto& series : _issue)
        shown = shown || !series.empty();
    const unsigned int show = shown ? 1 : 0;

    _outRunning(writer, label, treeId, show);
    _outWaits(writer, label, treeId, show);
    _outIssues(writer, label, treeId, show);
    _outEvents(writer, label, treeId, show);
    _outCounters(writer, label, show);
}

void ProcessChart::_outRunning(PerfJSONWriter& writer, const std::string& label, const std::string& treeId,
                               unsigned int show)
{
    for (unsigned int cpu = 0; cpu < kCpus; cpu++) {
        if (_running[cpu].empty())
            continue;
        const CpuColour colour = cpuColour((int)cpu);
        Entry(writer)
            .text("id", Entry::format("proc-%d-r%d", _pid, (int)cpu))
            .text("name", label)
            .text("treeId", treeId)
            .text("type", "binary")
            .text("class", "proc:running")
            .number("show", show)
            .text("tip", Entry::format("Running on CPU %d", (int)cpu))
            .hints(colour.white, colour.black)
            .changesOnly(_running[cpu], kRunningPoint, false);
    }
}

void ProcessChart::_outWaits(PerfJSONWriter& writer, const std::string& label, const std::string& treeId,
                             unsigned int show)
{
    Entry(writer)
        .text("id", Entry::format("proc-%d-d", _pid))
        .text("name", label)
        .text("treeId", treeId)
        .text("type", "binary")
        .text("class", "proc:wait")
        .text("tip", "Waiting for I/O")
        .number("show", show)
        .hints("#b0e0e6", "#b0e0e6")
        .changesOnly(_waitIo, kPoint, false);
    Entry(writer)
        .text("id", Entry::format("proc-%d-w", _pid))
        .text("name", label)
        .text("treeId", treeId)
        .text("type", "binary")
        .text("class", "proc:wait")
        .text("tip", "Waiting for CPU")
        .number("show", show)
        .hints("#f0c44c", "#f0e68c")
        .changesOnly(_waitCpu, kPoint, false);
    // Unlike the other waits, a GPU wait is written whenever it has samples,
    // even if only zeros, and its tip stands before its class.
    if (_waitGpu.empty())
        return;
    Entry(writer)
        .text("id", Entry::format("proc-%d-g", _pid))
        .text("name", label)
        .text("treeId", treeId)
        .text("type", "binary")
        .text("tip", "Waiting for GPU")
        .text("class", "proc:wait")
        .number("show", show)
        .hints("#db7093", "#db7093")
        .changesOnly(_waitGpu, kPoint, true);
}

// Every issue mark is written: its value 1 or 2 (end of frame) is the information.
void ProcessChart::_outIssues(PerfJSONWriter& writer, const std::string& label, const std::string& treeId,
                              unsigned int show)
{
    for (unsigned int kind = 0; kind < kIssueKinds; kind++) {
        if (_issue[kind].empty())
            continue;
        Entry(writer)
            .text("id", Entry::format("proc-%d-i%d", _pid, (int)kind))
            .text("name", label)
            .text("treeId", treeId)
            .text("type", "marker")
            .text("class", "proc:issue")
            .number("show", show)
            .text("tip", kIssues[kind].tip)
            .hints(kIssues[kind].colour, kIssues[kind].colour)
            .allPoints(_issue[kind], kPoint);
    }
}

// Markers keep the order in which they were found.
void ProcessChart::_outEvents(PerfJSONWriter& writer, const std::string& label, const std::string& treeId,
                              unsigned int show)
{
    if (_events.empty())
        return;
    Entry(writer)
        .text("id", Entry::format("proc-%d-e", _pid))
        .text("name", label)
        .text("treeId", treeId)
        .text("type", "events")
        .text("class", "proc:events")
        .text("tip", "FTrace Markers")
        .number("show", show)
        .hints("#cd5c5c", "#cd5c5c")
        .events(_events);
}

void ProcessChart::_outCounters(PerfJSONWriter& writer, const std::string& label, unsigned int show)
{
    if (_cycleCounter.empty())
        return;
    TimechartManager* manager = TimechartManager::Instance();
    for (unsigned int i = 0; i < 1 + kL1Counters + kL2Counters; i++) {
        const std::vector<ChartEntryS>& series = i == 0             ? _cycleCounter
                                                 : i <= kL1Counters ? _l1Counters[i - 1]
                                                                    : _l2Counters[i - 1 - kL1Counters];
        const std::string name = i == 0             ? manager->getCounterName(0, 0)
                                 : i <= kL1Counters ? manager->getCounterName(1, i - 1)
                                                    : manager->getCounterName(2, i - 1 - kL1Counters);
        // A counter that the configuration leaves out.
        if (name == "ffffffff")
            continue;
        const std::string treeId = _ppid == _pid ? Entry::format("%d_%d_proc_root", (int)i, _ppid)
                                                 : Entry::format("%d_%d_%d_proc_root", (int)i, _pid, _ppid);
        Entry(writer)
            .text("id", Entry::format("proc-%d-ctr%d", _pid, (int)i))
            .text("name", label)
            .text("tip", name)
            .text("treeId", treeId)
            .text("type", "bar")
            .text("class", "ctr:")
            .number("show", show)
            .hints("#232381", "#a3a3e6")
            .counterBars(series, kPoint);
    }
}
