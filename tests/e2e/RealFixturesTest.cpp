// Recordings made on this machine with its perf (by record-real-fixtures.sh,
// which ctest runs first): a call-graph profile and a scheduler, interrupt
// and power trace. Each is repacked into the layouts the converter reads,
// converted, and checked against perf's own reading of the same recording.
// This machine is 64-bit, so the trace is converted as a 64-bit kernel's of
// 3.10 or later.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"
#include "PerfDump.h"
#include "PerfFile.h"
#include "ProfileRows.h"

namespace fs = std::filesystem;
using B = PerfDataBuilder;

namespace {

std::string fixture(const std::string& name)
{
    return std::string(ZELCONV_REAL_FIXTURES) + "/" + name;
}

// Why a recording ("profile" or "trace") is not there to check, or empty.
std::string missingFixture(const std::string& kind)
{
    if (fs::exists(fixture(kind + ".skip")))
        return readFile(fixture(kind + ".skip"));
    if (!fs::exists(fixture(kind + ".data")))
        return "no " + kind + " recording in " + fixture("") + ": ctest makes it (test RealFixturesRecord)";
    return "";
}

std::vector<std::string> lines(const std::string& path)
{
    std::istringstream in(readFile(path));
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

// A plain sample record holds at most 25 call-chain entries within the 256
// bytes the converter takes for an undamaged record; it keeps 15 of them.
const size_t kChainFits = 25;

// COMM, MMAP and MMAP2 records and the samples, as the converter's records.
// An MMAP2 record has 24 bytes of device and inode (or build id) and 8 of
// protection and flags before its file name.
size_t repackProfile(const PerfFile& file, B& out)
{
    size_t samples = 0;
    for (const PerfFileRecord& record : file.records()) {
        const std::string& body = record.body;
        const uint32_t pid = PerfFile::field<uint32_t>(body, 0), tid = PerfFile::field<uint32_t>(body, 4);
        PerfFileSample sample;
        if (record.type == PerfFile::kComm) {
            out.comm(pid, tid, PerfFile::text(body, 8));
        } else if (record.type == PerfFile::kMmap || record.type == PerfFile::kMmap2) {
            out.mmap(pid, tid, PerfFile::field<uint64_t>(body, 8), PerfFile::field<uint64_t>(body, 16),
                     PerfFile::field<uint64_t>(body, 24),
                     PerfFile::text(body, record.type == PerfFile::kMmap ? 32 : 64));
        } else if (file.sample(record, sample) && (sample.attr->sampleType & PerfFile::kCallchain) != 0) {
            if (sample.callchain.size() > kChainFits)
                sample.callchain.resize(kChainFits);
            out.sample(sample.ip, sample.pid, sample.tid, sample.time, sample.cpu, sample.period, sample.callchain);
            samples++;
        }
    }
    return samples;
}

// The trace-point samples, with the event-type table taken from perf's list
// of events: "sched:sched_switch: type: 2, size: 128, config: 0x174, ...".
std::string repackTrace(const PerfFile& file, B& out)
{
    size_t events = 0;
    for (const std::string& line : lines(fixture("trace.evlist"))) {
        const size_t type = line.find(": type: 2,"), config = line.find(" config: ");
        if (type != std::string::npos && config != std::string::npos) {
            out.eventType(strtoull(line.c_str() + config + 9, nullptr, 0), line.substr(0, type));
            events++;
        }
    }
    if (events != 11)
        return "perf listed " + std::to_string(events) + " trace-points, not 11";
    for (const PerfFileRecord& record : file.records()) {
        PerfFileSample sample;
        if (file.sample(record, sample) && (sample.attr->sampleType & PerfFile::kRaw) != 0)
            out.tracepoint(sample.ip, sample.pid, sample.tid, sample.time, sample.cpu, sample.raw);
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

// One event of perf's reading of the trace:
// "[001]  7757.586669596:  irq:irq_handler_entry: irq=36 name=virtio1-req.0".
struct TraceLine {
    unsigned int cpu = 0;
    uint64_t ns = 0;
    std::string event;   // "irq:irq_handler_entry"
    std::string fields;  // what follows it
};

std::vector<TraceLine> traceLines()
{
    std::vector<TraceLine> out;
    for (const std::string& line : lines(fixture("trace.txt"))) {
        TraceLine t;
        unsigned long long whole = 0;
        char fraction[10] = {}, group[64] = {}, name[64] = {};
        int used = 0;
        if (sscanf(line.c_str(), " [%u] %llu.%9[0-9]: %63[^: ]:%63[^:]:%n", &t.cpu, &whole, fraction, group, name,
                   &used) != 5 ||
            strlen(fraction) != 9)
            continue;
        t.ns = whole * 1000000000ull + strtoull(fraction, nullptr, 10);
        t.event = std::string(group) + ":" + name;
        t.fields = line.substr((size_t)used);
        out.push_back(t);
    }
    return out;
}

// A number after "name=" in an event's fields, or -1.
long long traceField(const std::string& fields, const std::string& name)
{
    const size_t at = fields.find(" " + name + "=");
    return at == std::string::npos ? -1 : strtoll(fields.c_str() + at + name.size() + 2, nullptr, 10);
}

// A text after "name=", up to a blank.
std::string traceText(const std::string& fields, const std::string& name)
{
    const size_t at = fields.find(name + "=");
    if (at == std::string::npos)
        return "";
    const size_t start = at + name.size() + 1;
    return fields.substr(start, fields.find(' ', start) - start);
}

// The chart entries of a timechart document, one a line: their names and
// their points as "time value".
struct ChartEntry {
    std::string name;
    std::vector<std::string> points;
};

std::map<std::string, ChartEntry> chartEntries(const std::string& document)
{
    std::map<std::string, ChartEntry> out;
    std::istringstream in(document);
    for (std::string line; std::getline(in, line);) {
        const size_t id = line.find("\"id\":\""), data = line.find("\"data\":[");
        if (id == std::string::npos || data == std::string::npos)
            continue;
        ChartEntry& entry = out[line.substr(id + 6, line.find('"', id + 6) - id - 6)];
        const size_t name = line.find("\"name\":\"");
        if (name != std::string::npos)
            entry.name = line.substr(name + 8, line.find('"', name + 8) - name - 8);
        for (size_t at = line.find('[', data + 8); at != std::string::npos; at = line.find('[', at + 1)) {
            char time[40] = {};
            unsigned int value = 0;
            if (sscanf(line.c_str() + at, "[%39[0-9.], %u]", time, &value) == 2)
                entry.points.push_back(std::string(time) + " " + std::to_string(value));
        }
    }
    return out;
}

// A series thinned as the charts thin theirs: a point only where the value
// changes, starting from 0.
class ExpectedSeries {
public:
    void add(uint64_t ns, unsigned int value)
    {
        if (value == _last)
            return;
        points.push_back(seconds(ns) + " " + std::to_string(value));
        _last = value;
    }
    std::vector<std::string> points;

private:
    unsigned int _last = 0;
};

// Converts the repacked trace, with this machine's soft-interrupt names.
RunResult convertTrace(ConverterRun& run)
{
    PerfFile file(readFile(fixture("trace.data")));
    EXPECT_EQ(file.error(), "");
    B repacked;
    const std::string problem = repackTrace(file, repacked);
    EXPECT_EQ(problem, "");
    run.input(repacked);
    run.env("kern_ver", "6.1").env("ARM64", "y");
    run.systemFile("/proc/softirqs", readFile("/proc/softirqs"));
    return run.run({"-t", "-r"});
}

}  // namespace

TEST(RealFixtures, ProfileSamplesMatchPerfScript)
{
    const std::string missing = missingFixture("profile");
    if (!missing.empty())
        GTEST_SKIP() << missing;
    PerfFile file(readFile(fixture("profile.data")));
    ASSERT_EQ(file.error(), "");
    B repacked;
    const size_t repackedSamples = repackProfile(file, repacked);

    // The kernel's symbols are this machine's; the maps' symbols come from nm.
    ConverterRun run;
    run.input(repacked);
    run.systemFile("/proc/kallsyms", readFile("/proc/kallsyms"));
    RunResult r = run.run({"-b", "1000000"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<RowValue> rows = profileRows(r.output, "samples");
    const std::vector<PerfDumpSample> reference = readPerfDumpFile(fixture("profile.dump"));
    ASSERT_FALSE(reference.empty());
    EXPECT_EQ(repackedSamples, reference.size());
    EXPECT_EQ(rows.size(), reference.size());

    // A row's time is the stamp plus and minus the base, in seconds to 9
    // places: within a nanosecond of perf's, or two units of the sum's last
    // place where a long uptime makes that coarser.
    std::multimap<uint64_t, const RowValue*> byTime;
    for (const RowValue& row : rows)
        byTime.emplace((uint64_t)std::llround(row.items.at(3).real() * 1e9), &row);
    size_t unmatched = 0;
    std::string first;
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
        if (!found && unmatched++ == 0)
            first = std::to_string(sample.time) + " cpu " + std::to_string(sample.cpu) + " tid " +
                    std::to_string(sample.tid);
    }
    EXPECT_EQ(unmatched, 0u) << "samples perf reads that the document lacks, first at " << first;
    std::vector<std::string> problems = profileKeyProblems(r.output);
    EXPECT_TRUE(problems.empty()) << problems.size() << " problems, first: " << problems[0];
}

// A switch-in that perf shows while the same task is still switched in on
// that CPU adds nothing to a row that already shows it running; all others
// must show, at their times. (Traces do miss switches: in a virtual machine,
// switches away from the idle task were seen to be absent.)
TEST(RealFixtures, SwitchesMatchPerfScript)
{
    const std::string missing = missingFixture("trace");
    if (!missing.empty())
        GTEST_SKIP() << missing;
    ConverterRun run;
    RunResult r = convertTrace(run);
    ASSERT_EQ(r.status, 0) << r.err;

    std::multiset<std::string> switchIns, required;  // "pid cpu time"
    std::map<unsigned int, std::set<long long>> switchedIn;
    for (const TraceLine& t : traceLines()) {
        if (t.event != "sched:sched_switch")
            continue;
        const long long prev = traceField(t.fields, "prev_pid"), next = traceField(t.fields, "next_pid");
        const std::string key = std::to_string(next) + " " + std::to_string(t.cpu) + " " + seconds(t.ns);
        std::set<long long>& in = switchedIn[t.cpu];
        in.erase(prev);
        switchIns.insert(key);
        if (in.insert(next).second)
            required.insert(key);
    }
    std::multiset<std::string> running;
    for (const auto& [id, entry] : chartEntries(r.output)) {
        int pid = 0;
        unsigned int cpu = 0;
        char tail = 0;
        if (sscanf(id.c_str(), "proc-%d-r%u%c", &pid, &cpu, &tail) != 2)
            continue;
        for (const std::string& point : entry.points)
            if (point.size() > 2 && point.compare(point.size() - 2, 2, " 1") == 0)
                running.insert(std::to_string(pid) + " " + std::to_string(cpu) + " " +
                               point.substr(0, point.size() - 2));
    }
    std::vector<std::string> missed, extra;
    for (const std::string& s : required)
        if (running.count(s) < required.count(s))
            missed.push_back(s);
    for (const std::string& s : running)
        if (switchIns.count(s) < running.count(s))
            extra.push_back(s);
    ASSERT_FALSE(required.empty());
    EXPECT_TRUE(missed.empty()) << missed.size() << " of " << required.size()
                                << " switches without a point, first: " << missed.front();
    EXPECT_TRUE(extra.empty()) << extra.size() << " points without a switch, first: " << extra.front();
}

// Each hard and soft interrupt has a series per CPU, 1 from its entry and 0
// from its exit; a hard one is named as perf names it, a soft one by this
// machine's list of soft interrupts, which perf's action names follow. The
// idle states and frequencies of the CPUs follow the power events.
TEST(RealFixtures, InterruptsAndPowerMatchPerfScript)
{
    const std::string missing = missingFixture("trace");
    if (!missing.empty())
        GTEST_SKIP() << missing;
    ConverterRun run;
    RunResult r = convertTrace(run);
    ASSERT_EQ(r.status, 0) << r.err;

    std::map<std::string, ExpectedSeries> expected;
    std::map<std::string, std::string> names;
    size_t interrupts = 0;
    for (const TraceLine& t : traceLines()) {
        const std::string cpu = std::to_string(t.cpu);
        const bool entry = t.event == "irq:irq_handler_entry" || t.event == "irq:softirq_entry";
        if (entry || t.event == "irq:irq_handler_exit" || t.event == "irq:softirq_exit") {
            const bool soft = t.event.compare(0, 11, "irq:softirq") == 0;
            const std::string id =
                "irq-" + std::to_string(soft ? 1000 + traceField(t.fields, "vec") : traceField(t.fields, "irq"));
            expected[id + "-" + cpu].add(t.ns, entry ? 1 : 0);
            // "name=virtio1-req.0", or "[action=BLOCK]".
            std::string name = traceText(t.fields, soft ? "action" : "name");
            if (soft && !name.empty() && name.back() == ']')
                name.pop_back();
            if (entry)
                names[id + "-" + cpu] = name;
            interrupts++;
        } else if (t.event == "power:cpu_idle") {
            // A state s shows as state 2s+1 of the chart's four; leaving
            // (-1) is no state and shows nothing.
            const long long state = traceField(t.fields, "state");
            if (state >= 0 && 2 * state + 1 <= 4) {
                expected["cpu-" + cpu + "-s-" + std::to_string(2 * state)].add(t.ns, 1);
            }
        } else if (t.event == "power:cpu_frequency") {
            expected["cpu-" + std::to_string(traceField(t.fields, "cpu_id")) + "-f"].add(
                t.ns, (unsigned int)(traceField(t.fields, "state") / 1000));
        }
    }
    ASSERT_GT(interrupts, 0u) << "the trace holds no interrupts";

    const std::map<std::string, ChartEntry> document = chartEntries(r.output);
    for (const auto& [id, series] : expected) {
        auto found = document.find(id);
        ASSERT_NE(found, document.end()) << "no chart entry " << id;
        EXPECT_EQ(found->second.points, series.points) << id;
        if (names.count(id) != 0) {
            EXPECT_EQ(found->second.name, names[id]) << id;
        }
    }
    for (const auto& [id, entry] : document) {
        if (id.compare(0, 4, "irq-") == 0 || id.find("-s-") != std::string::npos ||
            (id.compare(0, 4, "cpu-") == 0 && id.back() == 'f')) {
            EXPECT_EQ(expected.count(id), 1u) << "chart entry without events: " << id;
        }
    }
}
