#include <gtest/gtest.h>

#include <cstdio>
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
#include "ProfileRows.h"

namespace fs = std::filesystem;
using B = PerfDataBuilder;

namespace {

std::string realFile(const std::string& name) { return std::string(ZELCONV_REAL_DIR) + "/" + name; }

// The recordings name files of the machines they were made on; an nm that
// lists nothing keeps this machine's files out of the result.
void withSilentNm(ConverterRun& run)
{
    run.file("bin/nm", "#!/bin/sh\nexit 0\n");
    fs::permissions(run.path("bin/nm"), fs::perms::owner_all);
    run.prependPath(run.path("bin"));
}

}  // namespace

// Converted as they are, the recordings give documents whose keys agree, and
// the call-graph one has every sample perf reads in it in records up to 256
// bytes (longer ones are taken for damage and skipped).
TEST(RealRecordings, ConvertInProfileModeWithAgreeingKeys)
{
    std::string skipped;  // each recording is checked where it is present
    for (const char* name : {"perf.data.callgraph-3.4", "perf.data.armv7-3.4", "perf.data.raw-3.4"}) {
        if (!fs::exists(realFile(name))) {
            skipped += std::string(" ") + name;
            continue;
        }
        ConverterRun run;
        withSilentNm(run);
        RunResult r = run.run({"-i", realFile(name), "-b", "1000000"});
        ASSERT_EQ(r.status, 0) << name << "\n" << r.err;
        EXPECT_EQ(r.err, "") << name;
        std::vector<std::string> problems = profileKeyProblems(r.output);
        EXPECT_TRUE(problems.empty()) << name << ": " << problems.size() << " problems, first: " << problems[0];
        if (std::string(name) != "perf.data.callgraph-3.4")
            continue;
        std::vector<PerfDumpSample> kept;
        for (const PerfDumpSample& sample : perfDump(realFile(name)))
            if (sample.size <= 256)
                kept.push_back(sample);
        if (kept.empty())
            skipped += " (perf script does not read it)";
        EXPECT_TRUE(kept.empty() || kept.size() > 1000u) << kept.size() << " samples read by perf script";
        const std::vector<std::string> missing = samplesMissing(r.output, kept);
        EXPECT_TRUE(missing.empty()) << missing.size() << " samples missing, first at " << missing.front();
    }
    if (!skipped.empty())
        GTEST_SKIP() << "not found in " << ZELCONV_REAL_DIR << " or not read by perf script:" << skipped;
}

// Imported, each recording converts with every sample that perf reads in it,
// those of records beyond 256 bytes and of other event layouts too.
TEST(RealRecordings, ImportedSamplesMatchPerfScript)
{
    std::string skipped;  // each recording is checked where it is present and perf reads it
    for (const char* name : {"perf.data.callgraph-3.4", "perf.data.armv7-3.4", "perf.data.raw-3.4"}) {
        const std::string file = realFile(name);
        const std::vector<PerfDumpSample> reference = fs::exists(file) ? perfDump(file) : std::vector<PerfDumpSample>();
        if (reference.empty()) {
            skipped += std::string(" ") + name;
            continue;
        }
        ConverterRun run;
        withSilentNm(run);
        RunResult imported = run.runImporter({file, "perf.data"}, "perf.data");
        ASSERT_EQ(imported.status, 0) << name << "\n" << imported.err;
        RunResult r = run.run({"-b", "1000000"});
        ASSERT_EQ(r.status, 0) << name << "\n" << r.err;
        EXPECT_EQ(profileRows(r.output, "samples").size(), reference.size()) << name;
        const std::vector<std::string> missing = samplesMissing(r.output, reference);
        EXPECT_TRUE(missing.empty()) << name << ": " << missing.size() << " samples missing, first at "
                                     << missing.front();
    }
    if (!skipped.empty())
        GTEST_SKIP() << "not found in " << ZELCONV_REAL_DIR << " or not read by perf script:" << skipped;
}

// A mixed recording with processes, threads, libraries and kernel addresses:
// every reference in the document names a row.
TEST(RealRecordings, BuiltMixedRecordingHasAgreeingKeys)
{
    ConverterRun run;
    run.input(B().comm(10, 10, "a")
                  .mmap(10, 10, 0x8000, 0x4000, 0, "/nonexistent/a")
                  .mmap(10, 11, 0x40000000, 0x10000, 0, "/nonexistent/liba.so")
                  .sample(0x8100, 10, 10, 1000, 0, 1, {0x8100, 0x40000100, 0xC0001000, 0xB0001000, 0x70000})
                  .sample(0x40000200, 10, 11, 2000, 1, 1, {0x40000200, 0x10, 0x2})
                  .sample(0x50000, 12, 12, 3000, 2, 1, {0x50000, 0x60000})
                  .comm(12, 12, "late"));
    RunResult r = run.run({"-b", "5"});
    ASSERT_EQ(r.status, 0);
    std::vector<std::string> problems = profileKeyProblems(r.output);
    EXPECT_TRUE(problems.empty()) << problems.size() << " problems, first: " << problems[0];
}
