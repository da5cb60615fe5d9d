#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <vector>

#include "ConverterReset.h"
#include "FileNames.h"
#include "Options.h"
#include "PerfFoundation.h"
#include "Settings.h"

namespace {

// Parses a command line in-process.
class OptionParsing : public testing::Test {
protected:
    void SetUp() override { resetConverter(); }
    void TearDown() override { resetConverter(); }

    void parse(std::vector<std::string> args)
    {
        args.insert(args.begin(), "zelconv");
        std::vector<char*> argv;
        for (auto& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        optind = 0;  // full re-initialisation of getopt
        parseOptions((int)args.size(), argv.data());
    }
};

}  // namespace

TEST(OptionTable, GetoptStringFollowsTheRows) { EXPECT_EQ(optionString(), "wlWLIi:o:p:zeqrRb:s:f:dDv:mhtc:g:S:P:P:"); }

TEST_F(OptionParsing, LastTimeScaleAndDestructorSwitchWin)
{
    parse({"-z", "-q", "-e", "-r", "-d", "-D", "-d"});
    EXPECT_EQ(timeConversionType, 0);
    EXPECT_TRUE(PerfFoundation::_bypassDestructor);
    parse({"-r", "-z"});
    EXPECT_EQ(timeConversionType, 3);
}

TEST_F(OptionParsing, SwitchesAndValues)
{
    parse({"-W", "-l", "-R", "-I", "-v", "2", "-p", "/a", "-p", "/b", "-P", "1", "-b", "12.5"});
    EXPECT_FALSE(addJSONWhiteSpace);
    EXPECT_TRUE(gRmFirstInterrupt);
    EXPECT_TRUE(addJSONLabels);
    EXPECT_FALSE(gReadable);
    EXPECT_EQ(gVerbosity, 2u);
    EXPECT_EQ(symPath, "/:/a:/b");
    EXPECT_EQ(FileNames::_ogProtocol, "1");
    EXPECT_FALSE(FileNames::_ogFunctionOnlyLookup);  // the second P row never runs
    EXPECT_EQ(baseTime, 12.5);
    EXPECT_EQ(gtodAtStart, 12.5);
    parse({"-v", "many"});
    EXPECT_EQ(gVerbosity, 0u);
    // Levels beyond a 32-bit long saturate on every word width.
    parse({"-v", "4294967296"});
    EXPECT_EQ(gVerbosity, 0x7FFFFFFFu);
    parse({"-v", "-4294967297"});
    EXPECT_EQ(gVerbosity, 0x80000000u);
}

TEST_F(OptionParsing, StartAndFinishWidenTheRangeByASecond)
{
    parse({"-s", "100.7", "-f", "200.2"});
    EXPECT_TRUE(gSelectiveProcessing);
    EXPECT_EQ(gtodAtStart, 100.7);
    EXPECT_EQ(gtodAtStop, 200.2);
    EXPECT_EQ(gFirstTimestampToProcess, 99000000000ULL);
    EXPECT_EQ(gLastTimestampToProcess, 201000000000ULL);
}

TEST_F(OptionParsing, ScalerAndOffsetCountOnlyBeforeStartAndFinish)
{
    // (1010 - 10) / 2 = 500 seconds on the file's clock.
    parse({"-c", "2", "-g", "10", "-s", "1010", "-f", "1010"});
    EXPECT_EQ(gFirstTimestampToProcess, 499000000000ULL);
    EXPECT_EQ(gLastTimestampToProcess, 501000000000ULL);
    timestampScaler = 1.0;
    timestampOffset = 0.0;
    parse({"-s", "1010", "-c", "2", "-g", "10"});
    EXPECT_EQ(gFirstTimestampToProcess, 1009000000000ULL);
}

TEST_F(OptionParsing, StartAtZeroSecondsWraps)
{
    parse({"-s", "0.5"});
    EXPECT_EQ(gFirstTimestampToProcess, 0xFFFFFFFFFFFFFFFFULL * 1000000000ULL);
    parse({"-s", "-30"});  // negative maps to 0 seconds too
    EXPECT_EQ(gFirstTimestampToProcess, 18446744072709551616ULL);
}

TEST_F(OptionParsing, UnscannableValuesKeepWhatWasThere)
{
    parse({"-c", "x", "-g", "y", "-b", "z"});
    EXPECT_EQ(timestampScaler, 1.0);
    EXPECT_EQ(timestampOffset, 0.0);
    EXPECT_EQ(gtodAtStart, baseTime);
    parse({"-s", "junk"});
    EXPECT_EQ(gtodAtStart, 0.0);
}
