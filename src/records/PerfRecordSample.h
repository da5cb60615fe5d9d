// One sample: program counter, time, core, process and back-trace. Plain
// samples are resolved to maps and symbols as they are read; a second pass
// after the walk settles every sample's own keys.
#ifndef ZELCONV_PERFRECORDSAMPLE_H
#define ZELCONV_PERFRECORDSAMPLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "PerfFactory.h"
#include "PerfRecord.h"

class PerfRecordComm;

// A plain sample record as it lies in the record buffer.
struct PerfRecordSampleS {
    char header[8];
    uint64_t ip;
    uint32_t pid;
    uint32_t tid;
    uint64_t time;
    uint32_t cpu;
    uint32_t reserved;
    uint64_t period;
    uint64_t nr;
    uint64_t ips[1];
};

static_assert(offsetof(PerfRecordSampleS, cpu) == 32 && offsetof(PerfRecordSampleS, ips) == 56, "plain sample layout");

class PerfRecordSample : public PerfRecord {
public:
    static constexpr unsigned int kMaxDepth = 15;
    static constexpr unsigned int kTraceEntries = 16;
    // The word at this offset is a core number up to this limit, else part of a trace-point's stream id.
    static constexpr size_t kKindWordOffset = 32;
    static constexpr uint32_t kMaxPlainCpu = 16;

    PerfRecordSample();
    PerfRecordSample(unsigned long long ip, unsigned long long time, unsigned int cpu, unsigned int pid,
                     unsigned int tid, unsigned long long period, unsigned int nr, const char* record);

    // Samples and decoders live in the record arena. Their storage is not
    // given back one by one: a sample is destroyed by the samples section
    // that writes it, or in timechart mode by the next sample made.
    static void* operator new(size_t size);
    static void operator delete(void*) {}

    // Destroys every sample and frees their storage, for a harness that
    // converts many inputs in one process.
    static void releaseAll();

    static PerfRecord* createInstance(char* buffer);
    static void verifyKeys();

    const char* perfRecordType() override { return "sample"; }
    unsigned long long getAddress() override { return _ip; }
    const char* getName() override { return "sample"; }
    int _out(PerfJSONWriter& writer) override;
    virtual void show();

    void processSample(const char* record);
    void processTrace(const char* record);
    void verifyKey();

    // Writes the samples section, and destroys every sample as it is written.
    static void outAll(PerfJSONWriter& writer);

    uint64_t _ip = 0;
    uint64_t _period = 0;
    uint64_t _time = 0;
    uint32_t _cpu = 0;
    uint32_t _depth = 0;
    uint32_t _mapKey = 0;
    uint32_t _pidKey = 0;
    PerfRecordComm* _processRecord = nullptr;

    // Back-trace entry `index`: its address and the key of its symbol or map;
    // 0 and 0 for an entry that was never read.
    uint64_t traceAddress(unsigned int index) const;
    uint32_t traceKey(unsigned int index) const;

    static uint64_t _runningIndex;
    static std::vector<PerfRecordSample*> _allSamples;
    // Time of the first sample, in seconds; the zero time scale subtracts it.
    static double _firstSampleTime;
    static uint64_t _lastSampleTime;
    static std::vector<PerfRecordSample*> samplesMissingMaps;
    static std::vector<PerfRecordSample*> samplesMissingProcess;

private:
    // In timechart mode nothing reads a sample once its record is handled:
    // the charts keep values of their own. Such a sample lives only until the
    // next one is made, which takes its place in the arena.
    static PerfRecordSample* _unkept;
    // Where operator new placed the sample being constructed.
    static void* _placed;

    // The entries read, in the record arena: two words each (address, key),
    // or three (address low and high, key) when an address needs 64 bits.
    uint32_t* _traceWords = nullptr;
    uint8_t _traceEntries = 0;
    bool _wideTrace = false;
};

#endif
