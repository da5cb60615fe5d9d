#include "TimechartManager.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "CPUChart.h"
#include "GPUChart.h"
#include "IRQChart.h"
#include "JSOM.h"
#include "PerfJSONWriter.h"
#include "ProcessChart.h"
#include "Settings.h"
#include "SystemFiles.h"
#include "TraceMarker.h"

TimechartManager* TimechartManager::_instance = nullptr;

// The hand-over state starts at zero: the first events read it before any
// switch or interrupt has written it.
TimechartManager::TimechartManager() : _lastPid(), _lastState(), _counterStarted() { init(); }

TimechartManager* TimechartManager::Instance()
{
    if (_instance == nullptr)
        _instance = new TimechartManager();
    return _instance;
}

void TimechartManager::discardInstance() { _instance = nullptr; }

void TimechartManager::init()
{
    for (bool& started : _counterStarted)
        started = false;
}

namespace {

// The chart stored under `key`, or null.
template <typename Charts>
typename Charts::mapped_type findChart(const Charts& charts, int key)
{
    auto found = charts.find(key);
    return found != charts.end() ? found->second : nullptr;
}

// Stores a new chart under `key` and returns it.
template <typename Charts>
typename Charts::mapped_type storeChart(Charts& charts, int key, typename Charts::mapped_type chart)
{
    charts[key] = chart;
    return chart;
}

}  // namespace

ProcessChart* TimechartManager::getProcessChart(int pid) { return findChart(_processCharts, pid); }

ProcessChart* TimechartManager::createProcessChart(int pid)
{
    return storeChart(_processCharts, pid, new ProcessChart(pid));
}

CPUChart* TimechartManager::getCPUChart(int cpu) { return findChart(_cpuCharts, cpu); }

CPUChart* TimechartManager::createCPUChart(int cpu) { return storeChart(_cpuCharts, cpu, new CPUChart(cpu)); }

// Wraps rather than overflows for numbers that no device name holds.
int TimechartManager::_gpuKey(int dimension, int device)
{
    return (int)((unsigned int)dimension * 10u + (unsigned int)device);
}

GPUChart* TimechartManager::getGPUChart(int dimension, int device)
{
    return findChart(_gpuCharts, _gpuKey(dimension, device));
}

GPUChart* TimechartManager::createGPUChart(int dimension, int device)
{
    return storeChart(_gpuCharts, _gpuKey(dimension, device), new GPUChart(dimension, device));
}

IRQChart* TimechartManager::getIRQChart(int irq) { return findChart(_irqCharts, irq); }

IRQChart* TimechartManager::createIRQChart(int irq) { return storeChart(_irqCharts, irq, new IRQChart(irq)); }

ProcessChart* TimechartManager::_processChart(int pid, bool& made)
{
    ProcessChart* chart = getProcessChart(pid);
    made = chart == nullptr;
    return made ? createProcessChart(pid) : chart;
}

bool TimechartManager::addStatusToProcessChart(unsigned long long time, int pid, int status, int cpu, unsigned int sub)
{
    bool made;
    _processChart(pid, made)->addStatus(time, (unsigned int)status, (unsigned int)cpu, sub);
    return made;
}

// The first counter sample of each CPU, whichever task it belongs to, is
// dropped; its task still gets a chart. A CPU beyond the flags' places never
// counts as started, so all of its samples are dropped.
bool TimechartManager::addCountersToProcessChart(unsigned long long time, int cpu, int pid, unsigned int cycles,
                                                 unsigned int* l1, unsigned int* l2)
{
    bool made;
    ProcessChart* chart = _processChart(pid, made);
    if (!_isCpu(cpu))
        return made;
    if (!_counterStarted[cpu]) {
        _counterStarted[cpu] = true;
        return made;
    }
    chart->addCounters(time, cycles, l1, l2);
    return made;
}

// CPU charts are kept by number, so any CPU number gets its chart.
bool TimechartManager::addValueToCPUChart(unsigned long long time, int cpu, int kind, int value)
{
    CPUChart* chart = getCPUChart(cpu);
    const bool made = chart == nullptr;
    if (made)
        chart = createCPUChart(cpu);
    chart->addValue(time, kind, value);
    return made;
}

// Two pairs with the same key (3,10 and 4,0) share the chart made first.
bool TimechartManager::addStatusToGPUChart(unsigned long long time, int dimension, int device, int status,
                                           unsigned int sub)
{
    GPUChart* chart = getGPUChart(dimension, device);
    const bool made = chart == nullptr;
    if (made)
        chart = createGPUChart(dimension, device);
    chart->addStatus(time, status, sub);
    return made;
}

// The chart is made whatever the CPU, so that the caller stores the name;
// the chart itself drops a sample of a CPU beyond its series.
bool TimechartManager::addValueToIRQChart(unsigned long long time, int irq, int value, int cpu)
{
    IRQChart* chart = getIRQChart(irq);
    const bool made = chart == nullptr;
    if (made)
        chart = createIRQChart(irq);
    chart->addValue(time, value, cpu);
    return made;
}

bool TimechartManager::addEvent(double time, int pid, unsigned int code, std::string& name, std::string& args)
{
    bool made;
    _processChart(pid, made)->addEvent(time, code, name, args);
    _eventChart.addEvent(time, code, name, args);
    return made;
}

void TimechartManager::setProcessPPid(int pid, int ppid)
{
    bool made;
    _processChart(pid, made)->_ppid = ppid;
}

void TimechartManager::setProcessName(int pid, const std::string& name, bool force)
{
    bool made;
    ProcessChart* chart = _processChart(pid, made);
    if (!force && !chart->_name.empty())
        return;
    chart->_name = name;
}

// A CPU beyond the table's places is not remembered.
void TimechartManager::setLastPidForCpu(int pid, int cpu)
{
    if (_isCpu(cpu))
        _lastPid[cpu] = pid;
}

// The entry of the CPU that was left stays until that CPU's next switch.
// Any `cpu` may ask: only the table's own places are looked at.
int TimechartManager::pidMigratedFrom(int pid, int cpu)
{
    for (int other = 0; other < kCpus; other++)
        if (other != cpu && _lastPid[other] == pid)
            return other;
    return -1;
}

// A CPU beyond the table's places saves nothing, and reads back 0, not busy.
void TimechartManager::saveLastStateForCPU(int cpu)
{
    CPUChart* chart = getCPUChart(cpu);
    if (chart != nullptr && _isCpu(cpu))
        _lastState[cpu] = chart->getBusyState();
}

int TimechartManager::getLastStateForCPU(int cpu) { return _isCpu(cpu) ? _lastState[cpu] : 0; }

void TimechartManager::addIrqName(int irq, const char* name) { _irqNames.insert({irq, name != nullptr ? name : ""}); }

void TimechartManager::addSirqName(int vector, const char* name)
{
    _sirqNames.insert({vector, name != nullptr ? name : ""});
}

std::string TimechartManager::getIRQName(int irq)
{
    const std::map<int, std::string>& names = irq < 1000 ? _irqNames : _sirqNames;
    auto found = names.find(irq < 1000 ? irq : irq - 1000);
    if (found != names.end())
        return found->second;
    printf("IRQ name not found: %d\n", irq);
    return "IRQ";
}

static void outNames(const std::map<int, std::string>& names)
{
    for (const auto& [number, name] : names)
        printf("%d:\t %s\n", number, name.c_str());
    fflush(stdout);
}

void TimechartManager::outIrqNames() { outNames(_irqNames); }

void TimechartManager::outSirqNames() { outNames(_sirqNames); }

std::string TimechartManager::getCounterName(unsigned int group, unsigned int index)
{
    if (group == 0)
        return _cycleCounterName;
    if (group == 1 && index < 4)
        return _l1CounterNames[index];
    if (group == 2 && index < 2)
        return _l2CounterNames[index];
    return std::string();
}

void TimechartManager::writeData(PerfJSONWriter& writer)
{
    writer.writeStructStart();
    writer.writeArrayStart("entries");
    outCPUCharts(writer);
    outGPUCharts(writer);
    outIRQCharts(writer);
    outProcessCharts(writer);
    outEventChart(writer);
    writer.writeArrayEnd();
    writer.writeStructEnd();
}

void TimechartManager::outCPUCharts(PerfJSONWriter& writer)
{
    for (auto& [cpu, chart] : _cpuCharts)
        chart->outCPUChart(writer);
}

void TimechartManager::outGPUCharts(PerfJSONWriter& writer)
{
    for (auto& [key, chart] : _gpuCharts)
        chart->outGPUChart(writer);
}

void TimechartManager::outIRQCharts(PerfJSONWriter& writer)
{
    for (auto& [irq, chart] : _irqCharts)
        chart->outIRQChart(writer);
}

void TimechartManager::outEventChart(PerfJSONWriter& writer) { _eventChart.outEventChart(writer); }

// One sort on the parent pid, not a walk of the process tree: a child may
// come out before its parent, and nesting is the viewer's business.
void TimechartManager::outProcessCharts(PerfJSONWriter& writer)
{
    // Taken in ascending pid order; the stable sort keeps that order among equal parents.
    std::vector<ProcessChart*> rows;
    rows.reserve(_processCharts.size());
    for (auto& [pid, chart] : _processCharts)
        rows.push_back(chart);
    std::stable_sort(rows.begin(), rows.end(), comparePPids);
    for (ProcessChart* chart : rows)
        chart->outProcessChart(writer);
}

bool comparePPids(ProcessChart* a, ProcessChart* b) { return a->_ppid < b->_ppid; }

// The file is read as it stands when the run ends: markers reach the document
// only if the machine's trace buffer still holds them. No file, no markers.
void TimechartManager::inspectTraceFile()
{
    std::ifstream file(SystemFiles::path(SystemFiles::traceFile));
    if (!file.is_open())
        return;
    std::string line;
    TraceMarker marker;
    while (std::getline(file, line))
        if (marker.parse(line))
            addEvent(marker.time, marker.pid, marker.code, marker.name, marker.args);
}

void TimechartManager::finalizeChartData()
{
    _readSoftIrqNames();
    _readCounterCodes();
}

// A header line, then one line per vector in vector order, each starting
// with the vector's name and a colon: "          HI:   0   0".
void TimechartManager::_readSoftIrqNames()
{
    std::ifstream file(SystemFiles::path(SystemFiles::softirqs));
    if (!file.is_open()) {
        fputs("Error: /proc/softirqs doesn't exist.\n", stderr);
        return;
    }
    std::string line;
    if (!std::getline(file, line))
        return;
    for (int vector = 0;; vector++) {
        std::getline(file, line);
        if (line.empty())
            break;
        // A line of blanks alone gives an empty name.
        const size_t start = std::min(line.find_first_not_of(' '), line.size());
        const size_t end = line.find_first_of(": ", start);
        addSirqName(vector, line.substr(start, end == std::string::npos ? end : end - start).c_str());
        if (!file.good())
            break;
    }
}

// The active-counters file holds one raw counter code a line: the cycle
// counter, a line skipped, the four level-one counters, a line skipped, and
// on all but developer builds the two level-two counters and a line skipped.
// An empty line ends its group's reading. A counter left "ffffffff" is not
// in use, and its series is not written.
void TimechartManager::_readCounterCodes()
{
    static const char* const kUnused = "ffffffff";
    _cycleCounterName = kUnused;
    for (std::string& name : _l1CounterNames)
        name = kUnused;
    for (std::string& name : _l2CounterNames)
        name = kUnused;

    // The default directory ends in a slash, and a second one follows it.
    std::ifstream file(SystemFiles::directory("ZELVIEW_CONFIG", SystemFiles::zelviewConfig) + "/plotx/activeCounters");
    if (!file.is_open())
        return;
    std::string line;
    std::getline(file, _cycleCounterName);
    std::getline(file, line);
    if (file.good()) {
        for (std::string& name : _l1CounterNames) {
            std::getline(file, line);
            if (line.empty())
                break;
            name = line;
            if (!file.good())
                break;
        }
        // Only reached with all four read: the line after them is skipped.
        if (file.good() && !line.empty())
            std::getline(file, line);
    }
    const char* build = getenv("BUILD_TYPE");
    if (build != nullptr && std::string(build) != "developer" && file.good()) {
        for (std::string& name : _l2CounterNames) {
            std::getline(file, line);
            if (line.empty())
                break;
            name = line;
            if (!file.good())
                break;
        }
        if (file.good() && !line.empty())
            std::getline(file, line);
    }
    file.close();
    _nameCounters();
}

// The counter-types document names the codes: "items"[i] has "info" with the
// "raw perf code" (any case), "inputs"[0]."event_type" (4 for the level-one
// group, 6 for the level-two one) and "name". Only the document's codes are
// lower-cased, so the active-counters lines match only in lower case. The
// cycle counter keeps its raw code.
void TimechartManager::_nameCounters()
{
    const std::string path =
        SystemFiles::directory("DOCUMENT_ROOT", SystemFiles::zelviewWww) + "/configx/cfgx-types.json";
    loomstat::JSOM document;
    // A file that does not load leaves no items: the raw codes stay.
    const bool loaded = document.fromFile(path.c_str()).isValid();
    loomstat::JSOM items = loaded ? document["items"] : loomstat::JSOM();
    for (int i = 0; i < items.size(); i++) {
        loomstat::JSOM item = items[i];
        loomstat::JSOM info = item["info"];
        if (!info.isValid() || !info["raw perf code"].isValid())
            continue;
        std::string code = info["raw perf code"].stringValue(loomstat::JSOM::EMPTY_STRING);
        for (char& c : code)
            c = (char)tolower((unsigned char)c);
        const int64_t group = item["inputs"][0]["event_type"].longValue(0);
        std::string* names = group == 4 ? _l1CounterNames : group == 6 ? _l2CounterNames : nullptr;
        const unsigned int count = group == 4 ? 4 : 2;
        if (names == nullptr)
            continue;
        for (unsigned int k = 0; k < count; k++) {
            if (names[k] != code)
                continue;
            names[k] = item["name"].stringValue(loomstat::JSOM::EMPTY_STRING);
            verbose(1, "l%d[%u] %s => %s\n", group == 4 ? 1 : 2, k, code.c_str(), names[k].c_str());
        }
    }
}
