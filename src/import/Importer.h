// Turns a recording of any perf into the layout that zelconv reads: MMAP and
// MMAP2 become MMAP, COMM stays, a new thread is named after its parent,
// samples of every layout become the plain or the trace-point sample, all in
// time order, and each record fits the converter's 256 bytes. Counts what it
// reads, writes and drops, and why.
#ifndef ZELCONV_IMPORT_IMPORTER_H
#define ZELCONV_IMPORT_IMPORTER_H

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "PerfFile.h"
#include "TracingData.h"

class PerfDataBuilder;

class Importer {
public:
    // The most call-chain entries that a plain sample of 256 bytes holds.
    static constexpr size_t kChainFits = 25;
    // The most raw bytes that a trace-point sample of 256 bytes holds.
    static constexpr size_t kRawFits = 204;
    // The converter's per-CPU tables have this many places.
    static constexpr uint32_t kCpus = 16;

    explicit Importer(const PerfFile& file);

    void run(PerfDataBuilder& out);

    // What was read, written and dropped, the time span, and what the user
    // must know of the result; several lines.
    std::string summary() const;
    // "kern_ver=6.1 ARM64=y": the settings zelconv needs for this recording.
    std::string environment() const;

private:
    struct TraceEvent {
        std::string name;
        uint16_t writtenId = 0;
        bool decoded = false;  // zelconv has a decoder for it
    };

    void describeEvents(PerfDataBuilder& out);
    void writeSample(const PerfFileRecord& record, PerfDataBuilder& out);
    void writeComm(std::string_view body, PerfDataBuilder& out);
    void writeFork(std::string_view body, PerfDataBuilder& out);
    void writeMmap(const PerfFileRecord& record, std::string_view body, PerfDataBuilder& out);
    void drop(const std::string& reason) { _dropped[reason]++; }
    void keepFormat(const std::string& name, const TraceFormat& format) { _formats.emplace(name, format); }
    // Fields of decoded events that do not lie where zelconv reads them under `env`.
    std::vector<std::string> payloadProblems(const std::string& env) const;

    const PerfFile& _file;
    std::unordered_map<uint64_t, TraceEvent> _events;  // by the kernel's event number
    std::unordered_map<uint32_t, std::string> _threadNames;
    std::unordered_map<uint64_t, std::string> _givenNames;  // by pid and tid, as written
    std::map<uint32_t, uint64_t> _read;
    std::map<std::string, uint64_t> _written, _dropped;
    std::string _tracingProblem;
    std::map<std::string, TraceFormat> _formats;  // of the decoded events, by name
    uint64_t _chainsTrimmed = 0, _namesShortened = 0, _highMaps = 0, _highSamples = 0;
    uint64_t _firstTime = UINT64_MAX, _lastTime = 0;
    unsigned _longSize = 0;  // of the recording kernel, or else of the perf that recorded
    bool _kernelWidthKnown = false;
};

#endif
