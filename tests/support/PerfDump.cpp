#include "PerfDump.h"

#include <cmath>
#include <cstring>
#include <map>

#include "ProfileRows.h"

std::vector<PerfDumpSample> readPerfDump(FILE* in)
{
    std::vector<PerfDumpSample> samples;
    char line[4096];
    while (fgets(line, sizeof line, in) != nullptr) {
        // "CPU TIME 0xOFFSET [0xSIZE]: PERF_RECORD_SAMPLE(...): PID/TID: 0xIP period: ..."
        unsigned int cpu, pid, tid;
        unsigned long long time, offset, size, ip;
        int entry;
        unsigned long long address;
        const char* kind = strstr(line, "]: PERF_RECORD_SAMPLE(");
        if (kind != nullptr && sscanf(line, "%u %llu 0x%llx [0x%llx]", &cpu, &time, &offset, &size) == 4) {
            const char* ids = strstr(kind, "): ");
            if (ids != nullptr && sscanf(ids, "): %u/%u: 0x%llx", &pid, &tid, &ip) == 3)
                samples.push_back({size, cpu, time, tid, ip, {}});
        } else if (!samples.empty() && sscanf(line, "..... %d: %llx", &entry, &address) == 2) {
            samples.back().chain.push_back(address);
        }
    }
    return samples;
}

std::vector<PerfDumpSample> readPerfDumpFile(const std::string& path)
{
    FILE* file = fopen(path.c_str(), "r");
    if (file == nullptr)
        return {};
    std::vector<PerfDumpSample> samples = readPerfDump(file);
    fclose(file);
    return samples;
}

std::vector<PerfDumpSample> perfDump(const std::string& recording)
{
    const std::string command = "perf script -D -i '" + recording + "' 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return {};
    std::vector<PerfDumpSample> samples = readPerfDump(pipe);
    pclose(pipe);
    return samples;
}

std::vector<uint64_t> keptChain(std::vector<uint64_t> chain)
{
    if (chain.size() == 1)
        chain.clear();
    if (chain.size() > 15)
        chain.resize(15);
    if (!chain.empty() && chain.back() <= 0x100)
        chain.pop_back();
    return chain;
}

std::vector<std::string> samplesMissing(const std::string& document, const std::vector<PerfDumpSample>& reference)
{
    const std::vector<RowValue> rows = profileRows(document, "samples");
    std::multimap<uint64_t, const RowValue*> byTime;
    for (const RowValue& row : rows)
        byTime.emplace((uint64_t)std::llround(row.items.at(3).real() * 1e9), &row);
    std::vector<std::string> missing;
    for (const PerfDumpSample& sample : reference) {
        bool found = false;
        const uint64_t slack = 1 + (uint64_t)std::ceil((sample.time / 1e9 + 1e6) * 4.5e-16 * 1e9);
        for (auto it = byTime.lower_bound(sample.time - slack);
             !found && it != byTime.end() && it->first <= sample.time + slack; ++it) {
            const RowValue& row = *it->second;
            std::vector<uint64_t> trace;
            for (const RowValue& entry : row.items.at(7).items)
                trace.push_back(entry.items.at(0).number());
            found = row.items.at(1).number() == sample.ip && row.items.at(4).number() == sample.cpu &&
                    row.items.at(6).number() == sample.tid && trace == keptChain(sample.chain);
        }
        if (!found)
            missing.push_back(std::to_string(sample.time) + " cpu " + std::to_string(sample.cpu) + " tid " +
                              std::to_string(sample.tid));
    }
    return missing;
}
