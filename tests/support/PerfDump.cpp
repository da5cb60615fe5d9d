#include "PerfDump.h"

#include <cstring>

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
