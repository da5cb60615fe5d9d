// A real scheduler trace: recorded on this machine with perf, repacked into
// the layout the converter reads (a 64-bit kernel's payloads, behind the
// 8-byte common header of kernels from 3.10 on), converted, and checked
// against what perf script prints for the same trace.
#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
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

const char* const kEvents[] = {"sched:sched_switch", "sched:sched_wakeup", "sched:sched_wakeup_new",
                               "task:task_newtask", "task:task_rename"};

// Runs a shell command, returning its exit status; its output goes to `log`.
int shell(const std::string& command, const std::string& log)
{
    const std::string line = command + " >" + log + " 2>&1";
    return system(line.c_str());
}

template <typename T>
T field(const std::string& bytes, size_t offset)
{
    T value{};
    if (offset + sizeof value <= bytes.size())
        memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// The samples of a perf.data file in perf's own layout, with the fields the
// converter needs. A trace-point recording's samples hold fixed 8-byte fields
// in the order of their bits in sample_type, then the raw data.
struct PerfSample {
    uint64_t ip = 0;
    uint32_t pid = 0;
    uint32_t tid = 0;
    uint64_t time = 0;
    uint32_t cpu = 0;
    std::string raw;
};

struct PerfFile {
    std::string error;
    std::vector<PerfSample> samples;
};

PerfFile readPerfFile(const std::string& bytes)
{
    enum : uint64_t { kIp = 1, kTid = 2, kTime = 4, kCpu = 1u << 7, kRaw = 1u << 10, kIdentifier = 1u << 16 };
    // Fields ahead of the raw data that are 8 bytes each: identifier, ip, tid,
    // time, addr, id, stream id, cpu, period.
    const uint64_t fixedFields[] = {kIdentifier, kIp, kTid, kTime, 1u << 3, 1u << 6, 1u << 9, kCpu, 1u << 8};
    const uint64_t required = kTid | kTime | kCpu | kRaw;
    const uint64_t understood = required | kIp | kIdentifier | (1u << 3) | (1u << 6) | (1u << 9) | (1u << 8);

    PerfFile file;
    const uint64_t attrSize = field<uint64_t>(bytes, 16), attrsOffset = field<uint64_t>(bytes, 24);
    const uint64_t attrsSize = field<uint64_t>(bytes, 32), dataOffset = field<uint64_t>(bytes, 40);
    const uint64_t dataSize = field<uint64_t>(bytes, 48);
    // Every trace-point attribute (type 2) must share one sample layout.
    std::set<uint64_t> types;
    for (uint64_t at = attrsOffset; attrSize != 0 && at + attrSize <= attrsOffset + attrsSize; at += attrSize)
        if (field<uint32_t>(bytes, at) == 2)
            types.insert(field<uint64_t>(bytes, at + 24));
    if (bytes.compare(0, 8, "PERFILE2") != 0 || types.size() != 1 || (*types.begin() & required) != required ||
        (*types.begin() & ~understood) != 0) {
        file.error = "not a trace-point recording this test understands";
        return file;
    }
    const uint64_t sampleType = *types.begin();
    for (uint64_t at = dataOffset; at + 8 <= dataOffset + dataSize && at + 8 <= bytes.size();) {
        const uint32_t type = field<uint32_t>(bytes, at);
        const uint16_t size = field<uint16_t>(bytes, at + 6);
        if (size < 8)
            break;
        if (type == 9) {
            PerfSample sample;
            uint64_t p = at + 8;
            for (uint64_t bit : fixedFields) {
                if ((sampleType & bit) == 0)
                    continue;
                if (bit == kIp)
                    sample.ip = field<uint64_t>(bytes, p);
                if (bit == kTid) {
                    sample.pid = field<uint32_t>(bytes, p);
                    sample.tid = field<uint32_t>(bytes, p + 4);
                }
                if (bit == kTime)
                    sample.time = field<uint64_t>(bytes, p);
                if (bit == kCpu)
                    sample.cpu = field<uint32_t>(bytes, p);
                p += 8;
            }
            const uint32_t rawSize = field<uint32_t>(bytes, p);
            if (p + 4 + rawSize <= at + size)
                sample.raw = bytes.substr(p + 4, rawSize);
            file.samples.push_back(sample);
        }
        at += size;
    }
    return file;
}

// "%f" of a stamp converted as the converter converts raw times.
std::string seconds(uint64_t ns)
{
    const double t = (double)(ns / 1000000000ull) + (double)(ns % 1000000000ull) / 1000000000.0;
    char buffer[64];
    snprintf(buffer, sizeof buffer, "%f", t);
    return buffer;
}

TEST(TimechartRealTrace, SwitchesMatchWhatPerfScriptPrints)
{
    ConverterRun run;
    const std::string log = run.path("perf.log");
    if (shell("command -v perf", log) != 0)
        GTEST_SKIP() << "perf is not installed (Debian package linux-perf)";

    // One second of the whole machine, with some tasks started and renamed by exec.
    std::string command = "perf record -q -a";
    for (const char* event : kEvents)
        command += std::string(" -e ") + event;
    command += " -o " + run.path("perf.raw.data") +
               " -- sh -c 'sleep 0.2; for i in 1 2 3 4; do (ls / >/dev/null) & done; wait; sleep 0.8'";
    if (shell(command, log) != 0)
        GTEST_SKIP() << "perf could not record trace-points here (permission or tracefs missing): "
                     << readFile(log);

    // Event numbers by name, as perf lists them.
    shell("perf evlist -v -i " + run.path("perf.raw.data"), run.path("evlist.txt"));
    std::map<std::string, uint64_t> ids;
    {
        // "sched:sched_switch: type: 2, size: 128, config: 0x174, ..."
        std::istringstream lines(readFile(run.path("evlist.txt")));
        std::string line;
        while (std::getline(lines, line)) {
            const size_t type = line.find(": type: 2,");
            const size_t config = line.find(" config: ");
            if (type != std::string::npos && config != std::string::npos)
                ids[line.substr(0, type)] = strtoull(line.c_str() + config + 9, nullptr, 0);
        }
    }
    ASSERT_EQ(ids.size(), 5u) << readFile(run.path("evlist.txt"));

    const PerfFile recorded = readPerfFile(readFile(run.path("perf.raw.data")));
    ASSERT_EQ(recorded.error, "");
    ASSERT_FALSE(recorded.samples.empty());

    // Repack: the event table, then each sample in the converter's layout, in file order.
    B repacked;
    for (const auto& [name, id] : ids)
        repacked.eventType(id, name);
    for (const PerfSample& s : recorded.samples)
        repacked.tracepoint(s.ip, s.pid, s.tid, s.time, s.cpu, s.raw);
    run.input(repacked);
    run.env("kern_ver", "6.1").env("ARM64", "y");
    run.systemFile("/proc/softirqs", readFile("/proc/softirqs"));
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(r.err, "");

    // What perf prints: every switch, with its CPU, time and the task switched in.
    ASSERT_EQ(shell("perf script -i " + run.path("perf.raw.data") + " -F cpu,time,event,trace --ns",
                    run.path("script.txt")),
              0);
    struct Switch {
        uint64_t ns;
        unsigned long cpu;
        std::string prev;
        std::string next;
    };
    std::vector<Switch> switches;
    {
        // "[000]  1818.630445567:     sched:sched_switch: prev_comm=a prev_pid=1 ... next_pid=2 next_prio=120"
        std::istringstream lines(readFile(run.path("script.txt")));
        std::string line;
        while (std::getline(lines, line)) {
            unsigned long cpu = 0;
            unsigned long long whole = 0;
            char fraction[10] = {};
            const size_t prev = line.rfind(" prev_pid=");
            const size_t next = line.rfind(" next_pid=");
            if (line.find(" sched:sched_switch: ") == std::string::npos || prev == std::string::npos ||
                next == std::string::npos ||
                sscanf(line.c_str(), " [%lu] %llu.%9[0-9]:", &cpu, &whole, fraction) != 3 || strlen(fraction) != 9)
                continue;
            switches.push_back({whole * 1000000000ull + strtoull(fraction, nullptr, 10), cpu,
                                std::to_string(strtol(line.c_str() + prev + 10, nullptr, 10)),
                                std::to_string(strtol(line.c_str() + next + 10, nullptr, 10))});
        }
    }
    ASSERT_FALSE(switches.empty()) << readFile(run.path("script.txt")).substr(0, 2000);
    std::stable_sort(switches.begin(), switches.end(),
                     [](const Switch& a, const Switch& b) { return a.ns < b.ns; });

    // A switch-in that perf shows while the same task is still switched in on
    // that CPU adds nothing to a row that already shows it running; all others
    // must show. (Traces do miss switches: in a virtual machine, switches away
    // from the idle task were seen to be absent.)
    std::multiset<std::string> switchIns;  // "pid cpu time" of every switch-in
    std::multiset<std::string> required;   // those that must have a point
    std::map<unsigned long, std::set<std::string>> switchedIn;
    for (const Switch& s : switches) {
        const std::string key = s.next + " " + std::to_string(s.cpu) + " " + seconds(s.ns);
        std::set<std::string>& in = switchedIn[s.cpu];
        in.erase(s.prev);
        switchIns.insert(key);
        if (in.count(s.next) == 0)
            required.insert(key);

        in.insert(s.next);
    }

    // What the document says: each entry stands on a line of its own.
    std::multiset<std::string> running;
    {
        std::istringstream lines(r.output);
        std::string line;
        while (std::getline(lines, line)) {
            const size_t data = line.find("\"data\":[");
            const size_t id = line.find("\"id\":\"");
            if (data == std::string::npos || id == std::string::npos)
                continue;
            int pid = 0;
            unsigned int cpu = 0;
            char tail = 0;
            const char* name = line.c_str() + id + 6;
            if (sscanf(name, "proc-%d-r%u%c", &pid, &cpu, &tail) != 3 || tail != '"')
                continue;
            for (size_t at = line.find('[', data + 8); at != std::string::npos; at = line.find('[', at + 1)) {
                char time[40] = {};
                unsigned int value = 0;
                if (sscanf(line.c_str() + at, "[%39[0-9.], %u]", time, &value) != 2)
                    continue;
                if (value == 1)
                    running.insert(std::to_string(pid) + " " + std::to_string(cpu) + " " + time);
            }
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
    EXPECT_GE(running.size(), required.size());
    EXPECT_FALSE(required.empty());
    EXPECT_TRUE(missing.empty()) << missing.size() << " of " << required.size()
                                 << " switches without a point, first: " << missing.front();
    EXPECT_TRUE(extra.empty()) << extra.size() << " points without a switch, first: " << extra.front();
}

}  // namespace
