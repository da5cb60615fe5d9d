// zelconv-import end to end: a small recording as perf 6.x pipes it, imported
// and converted; and inputs it must refuse without leaving an output behind.
#include <gtest/gtest.h>

#include <linux/perf_event.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"
#include "ProfileRows.h"

namespace fs = std::filesystem;
using B = PerfDataBuilder;

namespace {

std::string record(uint32_t type, const std::string& body, uint16_t misc = 0)
{
    return B::u32(type) + B::u16(misc) + B::u16((uint16_t)(8 + body.size())) + body;
}

// The sample-id trailer of a non-sample record: tid, time, cpu.
std::string trailer(uint32_t pid, uint32_t tid, uint64_t time)
{
    return B::u32(pid) + B::u32(tid) + B::u64(time) + B::u64(0);
}

std::string sample(uint64_t ip, uint32_t pid, uint32_t tid, uint64_t time, uint32_t cpu,
                   const std::vector<uint64_t>& chain)
{
    std::string body = B::u64(ip) + B::u32(pid) + B::u32(tid) + B::u64(time) + B::u32(cpu) + B::u32(0) + B::u64(1000) +
                       B::u64(chain.size());
    for (uint64_t address : chain)
        body += B::u64(address);
    return record(PERF_RECORD_SAMPLE, body, PERF_RECORD_MISC_USER);
}

}  // namespace

// A piped recording of one software event: the name of a process, a thread
// it starts, a library mapped by MMAP2 whose build id has an unstripped copy
// and one without, and samples out of time order, one with a chain longer
// than a record holds and one on CPU 16; it ends in a cut record, as a pipe
// does when perf is stopped.
TEST(Import, PipedRecordBecomesTheConvertersLayout)
{
    perf_event_attr attr{};
    attr.type = PERF_TYPE_SOFTWARE;
    attr.size = sizeof attr;
    attr.sample_type = PERF_SAMPLE_IP | PERF_SAMPLE_TID | PERF_SAMPLE_TIME | PERF_SAMPLE_CPU | PERF_SAMPLE_PERIOD |
                       PERF_SAMPLE_CALLCHAIN;
    attr.sample_id_all = 1;
    std::vector<uint64_t> longChain = {PERF_CONTEXT_USER};
    for (uint64_t i = 0; i < 29; i++)
        longChain.push_back(0x40000100 + i * 4);
    const std::string recording =
        "PERFILE2" + B::u64(16) + record(64, std::string((const char*)&attr, sizeof attr) + B::u64(7)) +
        record(67, B::u32(10) + std::string(20, '\xab') + B::u32(0) + B::text8("/nonexistent/libapp.so")) +
        record(67, B::u32(10) + std::string(20, '\x01') + B::u32(0) + B::text8("/nonexistent/libother.so")) +
        record(PERF_RECORD_COMM, B::u32(10) + B::u32(10) + B::text8("app") + trailer(10, 10, 100)) +
        record(PERF_RECORD_MMAP2,
               B::u32(10) + B::u32(10) + B::u64(0x40000000) + B::u64(0x10000) + B::u64(0) + std::string(32, '\0') +
                   B::text8("/nonexistent/libapp.so") + trailer(10, 10, 120),
               PERF_RECORD_MISC_USER) +
        record(PERF_RECORD_FORK,
               B::u32(10) + B::u32(10) + B::u32(11) + B::u32(10) + B::u64(150) + trailer(10, 11, 150)) +
        sample(0x40000100, 10, 11, 300, 1, longChain) + sample(0x40000200, 10, 10, 200, 0, {}) +
        sample(0x40000300, 10, 10, 250, 16, {}) + B::u32(PERF_RECORD_SAMPLE) + B::u16(0) + B::u16(64);

    ConverterRun run;
    run.file("piped.data", recording);
    std::string id;
    for (int i = 0; i < 19; i++)
        id += "ab";
    run.file("root/usr/lib/debug/.build-id/ab/" + id + ".debug", "unstripped");
    RunResult imported = run.runImporter({"--symbols", "syms", "-", "perf.data"}, "perf.data", run.path("piped.data"));
    ASSERT_EQ(imported.status, 0) << imported.err;
    EXPECT_EQ(readFile(run.path("syms/nonexistent/libapp.so")), "unstripped");
    EXPECT_TRUE(fs::is_symlink(run.path("syms/nonexistent/libapp.so")));
    EXPECT_NE(imported.out.find("symbols: 1 files linked in syms, 1 without an unstripped copy"), std::string::npos)
        << imported.out;
    EXPECT_NE(imported.out.find("records written: 5 (1 COMM, 1 COMM named after the parent, from FORK, 1 MMAP, "
                                "2 SAMPLE)"),
              std::string::npos)
        << imported.out;
    EXPECT_NE(imported.out.find("dropped 1 SAMPLE: on CPU 16 or above"), std::string::npos) << imported.out;
    EXPECT_NE(imported.out.find("call chains trimmed to their first 25 entries: 1\n"), std::string::npos);
    EXPECT_NE(imported.out.find("damaged: the data is cut or damaged at byte "), std::string::npos);
    EXPECT_NE(imported.out.find("time span: 0.000000200 to 0.000000300 s"), std::string::npos);

    RunResult r = run.run({"-b", "1"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<RowValue> samples = profileRows(r.output, "samples");
    const std::vector<RowValue> processes = profileRows(r.output, "processes");
    ASSERT_EQ(samples.size(), 2u);
    // In time order; the thread of the fork is known by its parent's name.
    EXPECT_EQ(samples[0].items.at(1).number(), 0x40000200u);
    EXPECT_EQ(samples[1].items.at(1).number(), 0x40000100u);
    EXPECT_EQ(samples[1].items.at(6).number(), 11u);
    bool named = false;
    for (const RowValue& process : processes)
        named |= process.items.at(0).text == samples[1].items.at(5).text && process.items.at(2).number() == 11 &&
                 process.items.at(3).text == "app";
    EXPECT_TRUE(named) << r.output;
    const std::vector<RowValue>& trace = samples[1].items.at(7).items;
    ASSERT_EQ(trace.size(), 15u);
    EXPECT_EQ(trace[0].items.at(0).number(), (uint64_t)PERF_CONTEXT_USER);
    EXPECT_EQ(trace[14].items.at(0).number(), 0x40000100u + 13 * 4);
    EXPECT_TRUE(profileKeyProblems(r.output).empty());
    // The library of the MMAP2 record is in the document.
    EXPECT_NE(r.output.find("\"/nonexistent/libapp.so\""), std::string::npos);
}

// Each refused input: status 1, one line on standard error, and the output
// as it was, with nothing written beside it.
TEST(Import, RefusedInputsLeaveTheOutputAlone)
{
    const std::string header = "PERFILE2" + B::u64(104) + B::u64(136);
    const struct {
        const char* what;
        std::string bytes;
        const char* message;
    } cases[] = {
        {"empty", "", "the input is empty"},
        {"text", "perf.data of nobody's making\n", "not a perf.data recording"},
        {"big-endian", "2ELIFREP" + std::string(200, '\0'), "big-endian"},
        {"header size", "PERFILE2" + B::u64(56) + std::string(200, '\0'), "unknown size (56)"},
        {"data outside", header + B::u64(104) + B::u64(0) + B::u64(104) + B::u64(1 << 20) + std::string(48, '\0'),
         "sections that lie outside the file"},
        {"feature outside",
         header + B::u64(104) + B::u64(0) + B::u64(104) + B::u64(0) + B::u64(0) + B::u64(0) + B::u64(1 << 4) +
             std::string(24, '\0') + B::u64(1 << 20) + B::u64(8),
         "feature sections that lie outside the file"},
        {"missing", "", "cannot read"},
    };
    for (const auto& c : cases) {
        ConverterRun run;
        run.file("out.data", "old");
        if (std::string(c.what) != "missing")
            run.file("in.data", c.bytes);
        RunResult r = run.runImporter({run.path("in.data"), "out.data"}, "out.data");
        EXPECT_EQ(r.status, 1) << c.what;
        EXPECT_EQ(r.err.compare(0, 16, "zelconv-import: "), 0) << c.what << ": " << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.what << ": " << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << c.what;
        EXPECT_EQ(r.output, "old") << c.what;
        EXPECT_EQ(std::distance(fs::directory_iterator(run.dir()), fs::directory_iterator()),
                  std::string(c.what) == "missing" ? 4 : 5)
            << c.what;  // root, stdout.txt, stderr.txt, out.data and in.data
    }
    ConverterRun run;
    EXPECT_EQ(run.runImporter({"only-one"}, "x").status, 2);
    RunResult help = run.runImporter({"-h"}, "x");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.compare(0, 38, "Usage:  zelconv-import [options] INPUT"), 0);
}
