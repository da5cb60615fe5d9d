// Recordings made on this machine with its perf (by record-real-fixtures.sh,
// which ctest runs first): a call-graph profile and a scheduler, interrupt
// and power trace, each once to a file and once through a pipe. Each is
// imported with zelconv-import (a piped one through its standard input),
// converted with the environment the import names, and checked against
// perf's own reading of the same recording.
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
#include "PerfDump.h"
#include "ProfileRows.h"

namespace fs = std::filesystem;

namespace {

std::string fixture(const std::string& name) { return std::string(ZELCONV_REAL_FIXTURES) + "/" + name; }

// Imports a recording as perf.data of the run, a piped one through standard
// input, and sets the environment that the summary's last line names.
void importFixture(ConverterRun& run, const std::string& kind)
{
    const bool piped = kind.size() > 5 && kind.compare(kind.size() - 5, 5, "-pipe") == 0;
    RunResult r = piped ? run.runImporter({"-", "perf.data"}, "perf.data", fixture(kind + ".data"))
                        : run.runImporter({fixture(kind + ".data"), "perf.data"}, "perf.data");
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_TRUE(r.outputExists);
    ASSERT_EQ(r.err, "");
    // This machine's kernel lays out its trace-points as zelconv reads them under that environment.
    EXPECT_EQ(r.out.find("payload layout"), std::string::npos) << r.out;
    std::istringstream summary(r.out);
    std::string line, last;
    while (std::getline(summary, line))
        last = line;
    std::istringstream words(last);
    for (std::string word; words >> word;) {
        const size_t equals = word.find('=');
        ASSERT_NE(equals, std::string::npos) << "the summary does not end in the environment: " << last;
        run.env(word.substr(0, equals), word.substr(equals + 1));
    }
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

std::vector<TraceLine> traceLines(const std::string& kind)
{
    std::vector<TraceLine> out;
    std::istringstream in(readFile(fixture(kind + ".txt")));
    for (std::string line; std::getline(in, line);) {
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

// A text after "name=", up to a blank.
std::string traceText(const std::string& fields, const std::string& name)
{
    const size_t at = fields.find(name + "=");
    if (at == std::string::npos)
        return "";
    const size_t start = at + name.size() + 1;
    return fields.substr(start, fields.find(' ', start) - start);
}

// A number after " name=" in an event's fields, or -1.
long long traceField(const std::string& fields, const std::string& name)
{
    const std::string text = traceText(fields, " " + name);
    return text.empty() ? -1 : strtoll(text.c_str(), nullptr, 10);
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

// A test of one recording ("profile", "trace-pipe"), skipped with the reason
// when the recording is not there.
class RealFixture : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (fs::exists(fixture(kind + ".skip")))
            GTEST_SKIP() << readFile(fixture(kind + ".skip"));
        if (!fs::exists(fixture(kind + ".data")))
            GTEST_SKIP() << "no " << kind << " recording in " << fixture("")
                         << ": ctest makes it (test RealFixturesRecord)";
    }
    const std::string kind = GetParam();
};
class RealProfile : public RealFixture {};
class RealTrace : public RealFixture {};

}  // namespace

TEST_P(RealProfile, SamplesMatchPerfScript)
{
    // The kernel's symbols are this machine's; the maps' symbols come from nm.
    ConverterRun run;
    importFixture(run, kind);
    run.systemFile("/proc/kallsyms", readFile("/proc/kallsyms"));
    RunResult r = run.run({"-b", "1000000"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<PerfDumpSample> reference = readPerfDumpFile(fixture(kind + ".dump"));
    ASSERT_FALSE(reference.empty());
    const std::vector<RowValue> rows = profileRows(r.output, "samples");
    EXPECT_EQ(rows.size(), reference.size());
    // perf writes samples in batches per CPU and shows them in time order; so does the document.
    size_t backwards = 0;
    for (size_t i = 1; i < rows.size(); i++)
        backwards += rows[i].items.at(3).real() < rows[i - 1].items.at(3).real() ? 1 : 0;
    EXPECT_EQ(backwards, 0u) << "samples out of time order";
    const std::vector<std::string> unmatched = samplesMissing(r.output, reference);
    EXPECT_TRUE(unmatched.empty()) << unmatched.size() << " samples perf reads that the document lacks, first at "
                                   << unmatched.front();
    std::vector<std::string> problems = profileKeyProblems(r.output);
    EXPECT_TRUE(problems.empty()) << problems.size() << " problems, first: " << problems[0];
}

INSTANTIATE_TEST_SUITE_P(RealFixtures, RealProfile, testing::Values("profile", "profile-pipe"));

// Converted with this machine's soft-interrupt names, the trace shows the
// switches, interrupts and power events that perf reads in it.
//
// A switch-in that perf shows while the same task is still switched in on
// that CPU adds nothing to a row that already shows it running; all others
// must show, at their times. (Traces do miss switches: in a virtual machine,
// switches away from the idle task were seen to be absent.)
//
// Each hard and soft interrupt has a series per CPU, 1 from its entry and 0
// from its exit; a hard one is named as perf names it, a soft one by this
// machine's list of soft interrupts, which perf's action names follow. The
// idle states and frequencies of the CPUs follow the power events.
TEST_P(RealTrace, SwitchesInterruptsAndPowerMatchPerfScript)
{
    ConverterRun run;
    importFixture(run, kind);
    run.systemFile("/proc/softirqs", readFile("/proc/softirqs"));
    RunResult r = run.run({"-t", "-r"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::map<std::string, ChartEntry> document = chartEntries(r.output);

    std::multiset<std::string> switchIns, required;  // "pid cpu time"
    std::map<unsigned int, std::set<long long>> switchedIn;
    for (const TraceLine& t : traceLines(kind)) {
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
    for (const auto& [id, entry] : document) {
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

    std::map<std::string, ExpectedSeries> expected;
    std::map<std::string, std::string> names;
    size_t interrupts = 0;
    for (const TraceLine& t : traceLines(kind)) {
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

INSTANTIATE_TEST_SUITE_P(RealFixtures, RealTrace, testing::Values("trace", "trace-pipe"));
