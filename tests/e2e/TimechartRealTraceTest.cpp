// A real scheduler trace: recorded on this machine with perf, repacked into
// the layout the converter reads (a 64-bit kernel's payloads, behind the
// 8-byte common header of kernels from 3.10 on), converted, and checked
// against what perf script prints for the same trace.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"

using B = PerfDataBuilder;

namespace {

// Runs a shell command, returning its exit status; its output goes to `log`.
int shell(const std::string& command, const std::string& log)
{
    return system((command + " >" + log + " 2>&1").c_str());
}

template <typename T>
T field(const std::string& bytes, size_t offset)
{
    T value{};
    if (offset + sizeof value <= bytes.size())
        memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// The lines of a file.
std::vector<std::string> lines(const std::string& path)
{
    std::istringstream in(readFile(path));
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

// Repacks the samples of a perf.data file in perf's own layout into `out`,
// or says why not. A trace-point recording's samples hold fixed 8-byte fields
// in the order of their bits in sample_type, then the raw data.
std::string repack(const std::string& bytes, B& out)
{
    enum : uint64_t { kIp = 1, kTid = 2, kTime = 4, kCpu = 1u << 7, kRaw = 1u << 10 };
    // Fields ahead of the raw data that are 8 bytes each: identifier, ip, tid,
    // time, addr, id, stream id, cpu, period.
    const uint64_t fixedFields[] = {1u << 16, kIp, kTid, kTime, 1u << 3, 1u << 6, 1u << 9, kCpu, 1u << 8};
    const uint64_t required = kTid | kTime | kCpu | kRaw;
    uint64_t understood = kRaw;
    for (uint64_t bit : fixedFields)
        understood |= bit;
    const uint64_t attrSize = field<uint64_t>(bytes, 16), attrsOffset = field<uint64_t>(bytes, 24);
    const uint64_t attrsEnd = attrsOffset + field<uint64_t>(bytes, 32), dataOffset = field<uint64_t>(bytes, 40);
    // Every trace-point attribute (type 2) must share one sample layout.
    std::set<uint64_t> types;
    for (uint64_t at = attrsOffset; attrSize != 0 && at + attrSize <= attrsEnd; at += attrSize)
        if (field<uint32_t>(bytes, at) == 2)
            types.insert(field<uint64_t>(bytes, at + 24));
    if (bytes.compare(0, 8, "PERFILE2") != 0 || types.size() != 1 || (*types.begin() & required) != required ||
        (*types.begin() & ~understood) != 0)
        return "not a trace-point recording this test understands";
    const uint64_t end = dataOffset + field<uint64_t>(bytes, 48);
    for (uint64_t at = dataOffset, size; at + 8 <= end && at + 8 <= bytes.size() &&
                                         (size = field<uint16_t>(bytes, at + 6)) >= 8;
         at += size) {
        if (field<uint32_t>(bytes, at) != 9)
            continue;
        std::map<uint64_t, uint64_t> fields;
        uint64_t p = at + 8;
        for (uint64_t bit : fixedFields)
            if ((*types.begin() & bit) != 0) {
                fields[bit] = field<uint64_t>(bytes, p);
                p += 8;
            }
        const uint32_t rawSize = field<uint32_t>(bytes, p);
        out.tracepoint(fields[kIp], (uint32_t)fields[kTid], (uint32_t)(fields[kTid] >> 32), fields[kTime],
                       (uint32_t)fields[kCpu], p + 4 + rawSize <= at + size ? bytes.substr(p + 4, rawSize) : "");
    }
    return "";
}

// "%f" of a stamp converted as the converter converts raw times.
std::string seconds(uint64_t ns)
{
    char buffer[64];
    snprintf(buffer, sizeof buffer, "%f", (double)(ns / 1000000000ull) + (double)(ns % 1000000000ull) / 1e9);
    return buffer;
}

TEST(TimechartRealTrace, SwitchesMatchWhatPerfScriptPrints)
{
    ConverterRun run;
    const std::string log = run.path("perf.log"), raw = run.path("perf.raw.data");
    if (shell("command -v perf", log) != 0)
        GTEST_SKIP() << "perf is not installed (Debian package linux-perf)";

    // One second of the whole machine, with some tasks started and renamed by exec.
    std::string command = "perf record -q -a";
    for (const char* event : {"sched:sched_switch", "sched:sched_wakeup", "sched:sched_wakeup_new",
                              "task:task_newtask", "task:task_rename"})
        command += std::string(" -e ") + event;
    command += " -o " + raw + " -- sh -c 'sleep 0.2; for i in 1 2 3 4; do (ls / >/dev/null) & done; wait; sleep 0.8'";
    if (shell(command, log) != 0)
        GTEST_SKIP() << "perf could not record trace-points here (permission or tracefs missing): " << readFile(log);

    // Event numbers by name, as perf lists them: "sched:sched_switch: type: 2, size: 128, config: 0x174, ...".
    B repacked;
    int events = 0;
    shell("perf evlist -v -i " + raw, run.path("evlist.txt"));
    for (const std::string& line : lines(run.path("evlist.txt"))) {
        const size_t type = line.find(": type: 2,"), config = line.find(" config: ");
        if (type == std::string::npos || config == std::string::npos)
            continue;
        repacked.eventType(strtoull(line.c_str() + config + 9, nullptr, 0), line.substr(0, type));
        events++;
    }
    ASSERT_EQ(events, 5) << readFile(run.path("evlist.txt"));
    ASSERT_EQ(repack(readFile(raw), repacked), "");
    run.input(repacked);
    run.env("kern_ver", "6.1").env("ARM64", "y");
    run.systemFile("/proc/softirqs", readFile("/proc/softirqs"));
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(r.err, "");

    // What perf prints, in time order: "[000]  1818.630445567:  sched:sched_switch: prev_comm=a
    // prev_pid=1 ... next_pid=2 next_prio=120". A switch-in that perf shows while the same task is
    // still switched in on that CPU adds nothing to a row that already shows it running; all
    // others must show. (Traces do miss switches: in a virtual machine, switches away from the
    // idle task were seen to be absent.)
    ASSERT_EQ(shell("perf script -i " + raw + " -F cpu,time,event,trace --ns", run.path("script.txt")), 0);
    std::map<uint64_t, std::vector<std::string>> byTime;  // "prev next cpu" of the switches at each time
    for (const std::string& line : lines(run.path("script.txt"))) {
        unsigned long cpu = 0;
        unsigned long long whole = 0;
        char fraction[10] = {};
        const size_t prev = line.rfind(" prev_pid="), next = line.rfind(" next_pid=");
        if (line.find(" sched:sched_switch: ") != std::string::npos && prev != std::string::npos &&
            next != std::string::npos &&
            sscanf(line.c_str(), " [%lu] %llu.%9[0-9]:", &cpu, &whole, fraction) == 3 && strlen(fraction) == 9)
            byTime[whole * 1000000000ull + strtoull(fraction, nullptr, 10)].push_back(
                std::to_string(strtol(line.c_str() + prev + 10, nullptr, 10)) + " " +
                std::to_string(strtol(line.c_str() + next + 10, nullptr, 10)) + " " + std::to_string(cpu));
    }
    std::multiset<std::string> switchIns, required;  // "pid cpu time"
    std::map<std::string, std::set<std::string>> switchedIn;  // the tasks switched in on each CPU
    for (const auto& [ns, switches] : byTime)
        for (const std::string& s : switches) {
            std::string prev, next, cpu;
            std::istringstream(s) >> prev >> next >> cpu;
            const std::string key = next + " " + cpu + " " + seconds(ns);
            std::set<std::string>& in = switchedIn[cpu];
            in.erase(prev);
            switchIns.insert(key);
            if (in.insert(next).second)
                required.insert(key);
        }

    // What the document says: each entry stands on a line of its own.
    std::multiset<std::string> running;
    std::istringstream document(r.output);
    for (std::string line; std::getline(document, line);) {
        int pid = 0;
        unsigned int cpu = 0;
        char tail = 0;
        const size_t data = line.find("\"data\":["), id = line.find("\"id\":\"");
        if (data == std::string::npos || id == std::string::npos ||
            sscanf(line.c_str() + id + 6, "proc-%d-r%u%c", &pid, &cpu, &tail) != 3 || tail != '"')
            continue;
        for (size_t at = line.find('[', data + 8); at != std::string::npos; at = line.find('[', at + 1)) {
            char time[40] = {};
            unsigned int value = 0;
            if (sscanf(line.c_str() + at, "[%39[0-9.], %u]", time, &value) == 2 && value == 1)
                running.insert(std::to_string(pid) + " " + std::to_string(cpu) + " " + time);
        }
    }
    // The same switches, on the same CPUs, at the same times.
    std::vector<std::string> missing, extra;
    for (const std::string& s : required)
        if (running.count(s) < required.count(s))
            missing.push_back(s);
    for (const std::string& s : running)
        if (switchIns.count(s) < running.count(s))
            extra.push_back(s);
    EXPECT_FALSE(required.empty());
    EXPECT_TRUE(missing.empty()) << missing.size() << " of " << required.size()
                                 << " switches without a point, first: " << missing.front();
    EXPECT_TRUE(extra.empty()) << extra.size() << " points without a switch, first: " << extra.front();
}

}  // namespace
