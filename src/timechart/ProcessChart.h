// Everything the timechart shows about one task: on which CPU it ran and
// when, what it waited for, the GPU work it issued, the markers it wrote and
// its hardware counters. Each status fact becomes samples of several series
// at once, so that every series on its own is a step function of time.
#ifndef ZELCONV_PROCESSCHART_H
#define ZELCONV_PROCESSCHART_H

#include <string>
#include <vector>

#include "ChartEntryS.h"

class PerfJSONWriter;

class ProcessChart {
public:
    static constexpr unsigned int kCpus = 16;
    static constexpr unsigned int kIssueKinds = 4;
    static constexpr unsigned int kL1Counters = 4;
    static constexpr unsigned int kL2Counters = 2;

    explicit ProcessChart(int pid);

    void addStatus(unsigned long long time, unsigned int status, unsigned int cpu, unsigned int sub);
    // `l1` points to four values, `l2` to two.
    void addCounters(unsigned long long time, unsigned int cycles, unsigned int* l1, unsigned int* l2);
    void addEvent(double time, unsigned int code, std::string& name, std::string& args);
    // Sorts the series by time and writes one entry for each that has something to show.
    void outProcessChart(PerfJSONWriter& writer);

    int _pid;
    int _ppid;
    std::string _name;
    std::vector<ChartEntryS> _running[kCpus];
    std::vector<ChartEntryS> _waitCpu;
    std::vector<ChartEntryS> _waitGpu;
    std::vector<ChartEntryS> _waitIo;
    std::vector<ChartEntryS> _issue[kIssueKinds];
    std::vector<EventEntryS> _events;
    std::vector<ChartEntryS> _cycleCounter;
    std::vector<ChartEntryS> _l1Counters[kL1Counters];
    std::vector<ChartEntryS> _l2Counters[kL2Counters];

private:
    void _addRunning(unsigned int cpu, ChartEntryS sample);
    void _sortSeries();
    void _outRunning(PerfJSONWriter& writer, const std::string& label, const std::string& treeId, unsigned int show);
    void _outWaits(PerfJSONWriter& writer, const std::string& label, const std::string& treeId, unsigned int show);
    void _outIssues(PerfJSONWriter& writer, const std::string& label, const std::string& treeId, unsigned int show);
    void _outEvents(PerfJSONWriter& writer, const std::string& label, const std::string& treeId, unsigned int show);
    void _outCounters(PerfJSONWriter& writer, const std::string& label, unsigned int show);
};

#endif
