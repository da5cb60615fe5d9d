#include "TimechartManager.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "CPUChart.h"
#include "PerfJSONWriter.h"
#include "ProcessChart.h"

TimechartManager* TimechartManager::_instance = nullptr;

// The hand-over state starts at zero: the first events read it before any
// switch or interrupt has written it.
TimechartManager::TimechartManager() : _lastPid(), _lastState(), _counterStarted()
{
    init();
}

TimechartManager* TimechartManager::Instance()
{
    if (_instance == nullptr)
        _instance = new TimechartManager();
    return _instance;
}

void TimechartManager::discardInstance()
{
    _instance = nullptr;
}

void TimechartManager::init()
{
    for (bool& started : _counterStarted)
        started = false;
}

ProcessChart* TimechartManager::getProcessChart(int pid)
{
    auto found = _processCharts.find(pid);
    return found != _processCharts.end() ? found->second : nullptr;
}

ProcessChart* TimechartManager::createProcessChart(int pid)
{
    ProcessChart* chart = new ProcessChart(pid);
    _processCharts[pid] = chart;
    return chart;
}

CPUChart* TimechartManager::getCPUChart(int cpu)
{
    auto found = _cpuCharts.find(cpu);
    return found != _cpuCharts.end() ? found->second : nullptr;
}

CPUChart* TimechartManager::createCPUChart(int cpu)
{
    CPUChart* chart = new CPUChart(cpu);
    _cpuCharts[cpu] = chart;
    return chart;
}

ProcessChart* TimechartManager::_processChart(int pid, bool& made)
{
    ProcessChart* chart = getProcessChart(pid);
    made = chart == nullptr;
    return made ? createProcessChart(pid) : chart;
}

bool TimechartManager::addStatusToProcessChart(unsigned long long time, int pid, int status, int cpu,
                                               unsigned int sub)
{
    if (!_isCpu(cpu))
        return false;
    bool made;
    _processChart(pid, made)->addStatus(time, (unsigned int)status, (unsigned int)cpu, sub);
    return made;
}

// The first counter sample of each CPU, whichever task it belongs to, is
// dropped; its task still gets a chart.
bool TimechartManager::addCountersToProcessChart(unsigned long long time, int cpu, int pid, unsigned int cycles,
                                                 unsigned int* l1, unsigned int* l2)
{
    if (!_isCpu(cpu))
        return false;
    bool made;
    ProcessChart* chart = _processChart(pid, made);
    if (!_counterStarted[cpu]) {
        _counterStarted[cpu] = true;
        return made;
    }
    chart->addCounters(time, cycles, l1, l2);
    return made;
}

bool TimechartManager::addValueToCPUChart(unsigned long long time, int cpu, int kind, int value)
{
    if (!_isCpu(cpu))
        return false;
    CPUChart* chart = getCPUChart(cpu);
    const bool made = chart == nullptr;
    if (made)
        chart = createCPUChart(cpu);
    chart->addValue(time, kind, value);
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

void TimechartManager::setLastPidForCpu(int pid, int cpu)
{
    if (_isCpu(cpu))
        _lastPid[cpu] = pid;
}

// The entry of the CPU that was left stays until that CPU's next switch.
int TimechartManager::pidMigratedFrom(int pid, int cpu)
{
    if (!_isCpu(cpu))
        return -1;
    for (int other = 0; other < kCpus; other++)
        if (other != cpu && _lastPid[other] == pid)
            return other;
    return -1;
}

void TimechartManager::saveLastStateForCPU(int cpu)
{
    if (!_isCpu(cpu))
        return;
    CPUChart* chart = getCPUChart(cpu);
    if (chart != nullptr)
        _lastState[cpu] = chart->getBusyState();
}

int TimechartManager::getLastStateForCPU(int cpu)
{
    return _isCpu(cpu) ? _lastState[cpu] : 0;
}

void TimechartManager::addIrqName(int irq, const char* name)
{
    _irqNames.insert({irq, name != nullptr ? name : ""});
}

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

void TimechartManager::outIrqNames()
{
    outNames(_irqNames);
}

void TimechartManager::outSirqNames()
{
    outNames(_sirqNames);
}

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
    // The GPU and interrupt charts' entries follow the CPU charts' here.
    outProcessCharts(writer);
    // The list of all trace markers ends the entries.
    writer.writeArrayEnd();
    writer.writeStructEnd();
}

void TimechartManager::outCPUCharts(PerfJSONWriter& writer)
{
    for (auto& [cpu, chart] : _cpuCharts)
        chart->outCPUChart(writer);
}

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

bool comparePPids(ProcessChart* a, ProcessChart* b)
{
    return a->_ppid < b->_ppid;
}
