// The one object that timechart mode is built around. Every trace-point
// decoder hands it what it learned from one record; it finds or makes the
// chart that the fact belongs to and passes the fact on, and keeps the state
// that spans charts: which task each CPU last ran, each CPU's busy value at
// interrupt entry, interrupt names and counter names. It owns every chart.
//
// The per-CPU tables have 16 places. A fact about a CPU beyond them still
// makes and feeds the charts kept by number; only the accesses to those
// tables are guarded, each where it happens.
#ifndef ZELCONV_TIMECHARTMANAGER_H
#define ZELCONV_TIMECHARTMANAGER_H

#include <map>
#include <string>

#include "EventChart.h"

class CPUChart;
class GPUChart;
class IRQChart;
class PerfJSONWriter;
class ProcessChart;

class TimechartManager {
public:
    static constexpr int kCpus = 16;

    // Statuses of a task, for addStatusToProcessChart.
    static constexpr unsigned int kStatusRunning = 0;     // switched in on the CPU given
    static constexpr unsigned int kStatusWaitIo = 1;      // switched out in uninterruptible sleep
    static constexpr unsigned int kStatusWaitCpu = 2;     // woken, runnable
    static constexpr unsigned int kStatusNotRunning = 3;  // switched out otherwise
    static constexpr unsigned int kStatusWaitGpu = 4;     // began waiting for the GPU
    static constexpr unsigned int kStatusGpuDone = 5;     // stopped waiting for the GPU
    static constexpr unsigned int kStatusIssue = 10;      // 10 to 13: GPU work issued, by kind

    // Statuses of a GPU core, for addStatusToGPUChart; issued work uses 10 to 13 as above.
    static constexpr int kGpuIrq = 17;        // 17 to 19: an interrupt, by kind
    static constexpr int kGpuPower = 30;      // 30 to 34: a rung of the power ladder entered
    static constexpr int kGpuFrequency = 35;  // the clock frequency, in MHz, as the last argument

    // Soft interrupts share the interrupt charts, at their vector plus this.
    static constexpr int kSoftIrqBase = 1000;

    // Kinds of CPU chart value, for addValueToCPUChart.
    static constexpr int kCpuBusy = 40;       // 1 busy, 0 not
    static constexpr int kCpuFrequency = 41;  // MHz
    static constexpr int kCpuIdle = 42;       // idle state

    static TimechartManager* Instance();
    // Lets the next Instance() make a fresh manager. The charts of the old one
    // are left as they are, like every chart of a run; for tests.
    static void discardInstance();

    void init();

    ProcessChart* getProcessChart(int pid);
    ProcessChart* createProcessChart(int pid);
    CPUChart* getCPUChart(int cpu);
    CPUChart* createCPUChart(int cpu);
    GPUChart* getGPUChart(int dimension, int device);
    GPUChart* createGPUChart(int dimension, int device);
    IRQChart* getIRQChart(int irq);
    IRQChart* createIRQChart(int irq);

    // Each returns true when the call made the chart. Times are raw stamps in nanoseconds.
    bool addStatusToProcessChart(unsigned long long time, int pid, int status, int cpu, unsigned int sub);
    bool addCountersToProcessChart(unsigned long long time, int cpu, int pid, unsigned int cycles, unsigned int* l1,
                                   unsigned int* l2);
    bool addValueToCPUChart(unsigned long long time, int cpu, int kind, int value);
    bool addStatusToGPUChart(unsigned long long time, int dimension, int device, int status, unsigned int sub);
    bool addValueToIRQChart(unsigned long long time, int irq, int value, int cpu);
    // A trace marker, on the chart of `pid` and on the one list of markers.
    // Its time is in seconds as the trace file prints it, not a raw stamp.
    bool addEvent(double time, int pid, unsigned int code, std::string& name, std::string& args);

    void setProcessPPid(int pid, int ppid);
    // Without `force` an existing non-empty name stays.
    void setProcessName(int pid, const std::string& name, bool force);

    void setLastPidForCpu(int pid, int cpu);
    // The lowest other CPU whose last task is `pid`, or -1.
    int pidMigratedFrom(int pid, int cpu);
    void saveLastStateForCPU(int cpu);
    int getLastStateForCPU(int cpu);

    // The first name given for a number stands.
    void addIrqName(int irq, const char* name);
    void addSirqName(int vector, const char* name);
    // Below 1000 a hard interrupt's name, from 1000 on the name of soft vector irq - 1000.
    std::string getIRQName(int irq);
    void outIrqNames();
    void outSirqNames();

    // Group 0 is the cycle counter, group 1 the four level-one counters, group 2 the two level-two ones.
    std::string getCounterName(unsigned int group, unsigned int index);

    // After the record walk: the markers of the ftrace text file join the charts.
    void inspectTraceFile();
    // Then the names the records do not carry: soft interrupts from the
    // machine's table, counters from the capture's configuration files.
    void finalizeChartData();

    // The whole timechart document: one object whose "entries" hold every chart's entries.
    void writeData(PerfJSONWriter& writer);
    void outCPUCharts(PerfJSONWriter& writer);
    void outGPUCharts(PerfJSONWriter& writer);
    void outIRQCharts(PerfJSONWriter& writer);
    void outEventChart(PerfJSONWriter& writer);
    // Process rows ascend by parent pid, and by pid within one parent.
    void outProcessCharts(PerfJSONWriter& writer);

    std::map<int, GPUChart*> _gpuCharts;  // by dimension * 10 + device, the order of output
    std::map<int, ProcessChart*> _processCharts;
    std::map<int, CPUChart*> _cpuCharts;
    std::map<int, IRQChart*> _irqCharts;
    EventChart _eventChart;
    std::map<int, std::string> _irqNames;
    std::map<int, std::string> _sirqNames;
    int _lastPid[kCpus];
    int _lastState[kCpus];
    bool _counterStarted[kCpus];
    std::string _cycleCounterName;
    std::string _l1CounterNames[4];
    std::string _l2CounterNames[2];

private:
    TimechartManager();
    static bool _isCpu(int cpu) { return cpu >= 0 && cpu < kCpus; }
    ProcessChart* _processChart(int pid, bool& made);
    static int _gpuKey(int dimension, int device);
    void _readSoftIrqNames();
    void _readCounterCodes();
    void _nameCounters();

    static TimechartManager* _instance;
};

// True when the parent pid of `a` is below that of `b`.
bool comparePPids(ProcessChart* a, ProcessChart* b);

#endif
