#include <gtest/gtest.h>

#include <string>

#include "ConverterRun.h"
#include "PerfDataBuilder.h"

using B = PerfDataBuilder;

TEST(DriverEndToEnd, HelpPrintsEveryRowAndTouchesNoFile)
{
    ConverterRun run;
    RunResult r = run.run({"-h", "-x"});
    EXPECT_EQ(r.status, 0);
    EXPECT_FALSE(r.outputExists);
    EXPECT_EQ(r.out, golden("help.txt"));
}

TEST(DriverEndToEnd, BadOptionOrMissingArgumentEndsWith255)
{
    for (auto args : {std::vector<std::string>{"-x"}, std::vector<std::string>{"-i"}}) {
        ConverterRun run;
        run.input(B());
        RunResult r = run.run(args);
        EXPECT_EQ(r.status, 255);
        EXPECT_EQ(r.out, "ERROR: Bad option passed use -h for help\n");
        EXPECT_NE(r.err, "");  // getopt's own complaint
        EXPECT_FALSE(r.outputExists);
    }
}

TEST(DriverEndToEnd, MissingInputLeavesNoOutputFile)
{
    ConverterRun run;
    RunResult r = run.run({"-i", "absent.data"});
    EXPECT_EQ(r.status, 255);
    EXPECT_EQ(r.out, "ERROR: Bad In File Name\n");
    EXPECT_FALSE(r.outputExists);
}

TEST(DriverEndToEnd, EmptyInputLeavesAnEmptyOutputFile)
{
    ConverterRun run;
    run.file("perf.data", "");
    RunResult r = run.run({});
    EXPECT_EQ(r.status, 255);
    EXPECT_EQ(r.out, "ERROR: Invalid In File\n");
    EXPECT_TRUE(r.outputExists);
    EXPECT_EQ(r.output, "");
}

TEST(DriverEndToEnd, VerboseRunEndsWithTheStatistics)
{
    ConverterRun run;
    run.input(B().junk(std::string(8, '\xff')).record(2, std::string(8, '\0')).record(7, "abcd"));
    RunResult r = run.run({"-v", "1"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("FIXED\nUnknown Type:2 len:16(10)\nUnknown Type:7 len:12(c)\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.substr(r.out.size() - 14), "Lost Bytes: 8\n");
}

// The uptime stream stays open through the run, on descriptor 3; the input
// and the output take 4 and 5, and the mapped file's check the next one.
// With every machine file present, no failed call has set errno.
TEST(DriverEndToEnd, VerboseFileCheckShowsTheDescriptorAfterTheOpenStreams)
{
    ConverterRun run;
    run.systemFile("/proc/uptime", "100.00 50.00\n").systemFile("/proc/kallsyms", "c0008000 T stext\n");
    run.file("lib.so", "x");
    run.input(B().mmap(10, 10, 0x40000, 0x1000, 0, run.path("lib.so")));
    RunResult r = run.run({"-v", "1", "-b", "5"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("\ncheckFile " + run.path("lib.so") + "=6:0\n"), std::string::npos) << r.out;
}

TEST(DriverEndToEnd, WrongMagicAndShortHeaderAreProcessedAnyway)
{
    ConverterRun run;
    std::string image = B().record(2, std::string(8, '\0')).bytes();
    image.replace(0, 8, "NOTPERF!");
    run.file("perf.data", image);
    EXPECT_EQ(run.run({}).status, 0);
    run.file("perf.data", "short");
    RunResult r = run.run({});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.output.rfind("{\"Description\":{\"Version\":\"1.0\"", 0), 0u);
}
