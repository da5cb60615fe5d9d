// Reads the samples of perf's raw dump ("perf script -D"): perf's own reading
// of a recording, with each sample's record size and raw call chain.
#ifndef ZELCONV_TESTS_PERFDUMP_H
#define ZELCONV_TESTS_PERFDUMP_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

struct PerfDumpSample {
    uint64_t size;  // of the whole record
    uint32_t cpu;
    uint64_t time;
    uint32_t tid;
    uint64_t ip;
    std::vector<uint64_t> chain;
};

// The samples of a dump read from `in`.
std::vector<PerfDumpSample> readPerfDump(FILE* in);
// The samples of a dump file.
std::vector<PerfDumpSample> readPerfDumpFile(const std::string& path);
// Runs perf script -D over a recording; empty when perf is missing.
std::vector<PerfDumpSample> perfDump(const std::string& recording);

// The back-trace the converter keeps of a raw chain: none for a single
// entry, at most 15, and a small last value taken for a stray marker.
std::vector<uint64_t> keptChain(std::vector<uint64_t> chain);

// The samples perf read that a profile document lacks: none when each has a
// row with its ip, CPU, tid, kept back-trace and time (within a nanosecond,
// or two units of the last place where the base and a long uptime make that
// coarser). Each as "TIME cpu CPU tid TID".
std::vector<std::string> samplesMissing(const std::string& document, const std::vector<PerfDumpSample>& reference);

#endif
