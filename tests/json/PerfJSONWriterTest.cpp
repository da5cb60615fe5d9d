#include <gtest/gtest.h>

#include <string>

#include "ConverterRun.h"
#include "PerfJSONWriter.h"
#include "Settings.h"

namespace {

// Opens a writer on a file in a temporary directory and reads the file back after close.
class WriterFixture : public testing::Test {
protected:
    void SetUp() override { savedReadable = gReadable; }
    void TearDown() override { gReadable = savedReadable; }

    std::string finish(PerfJSONWriter& writer)
    {
        writer.close();
        return readFile(path);
    }

    ConverterRun scratch;
    std::string path = scratch.path("out.json");
    bool savedReadable = true;
};

// One object with a number `a`, two records written with writeStructStart
// in `b`, a series `c` through writeJson and an empty array `d`.
void writeExample(PerfJSONWriter& w)
{
    w.newElementStart(nullptr);
    w.writeNamed("a", 1u);
    w.writeArrayStart("b");
    w.writeStructStart();
    w.writeNamed("x", 2u);
    w.writeNamed("y", "s");
    w.writeStructEnd();
    w.writeStructStart();
    w.writeNamed("x", 3u);
    w.writeNamed("y", "t");
    w.writeStructEnd();
    w.writeArrayEnd();
    w.writeArrayStart("c");
    w.writeJson("4");
    w.writeJson("5");
    w.writeArrayEnd();
    w.writeArrayStart("d");
    w.writeArrayEnd();
    w.newElementEnd();
}

}  // namespace

TEST_F(WriterFixture, LabelsOnReadableBreaksBeforeEachRecord)
{
    PerfJSONWriter w(true, false);
    ASSERT_EQ(w.open(path.c_str()), 0);
    writeExample(w);
    EXPECT_EQ(finish(w), "{\"a\":1,\"b\":[\n{\"x\":2,\"y\":\"s\"}\n,{\"x\":3,\"y\":\"t\"},],\"c\":[4,5],\"d\":[]}\n");
}

TEST_F(WriterFixture, LabelsOnNotReadableIsOneLine)
{
    gReadable = false;
    PerfJSONWriter w(true, false);
    w.open(path.c_str());
    writeExample(w);
    EXPECT_EQ(finish(w), "{\"a\":1,\"b\":[{\"x\":2,\"y\":\"s\"},{\"x\":3,\"y\":\"t\"},],\"c\":[4,5],\"d\":[]}\n");
}

TEST_F(WriterFixture, LabelsAndWhiteSpaceOn)
{
    PerfJSONWriter w(true, true);
    w.open(path.c_str());
    writeExample(w);
    EXPECT_EQ(finish(w),
              "{\n"
              " \"a\": 1,\n"
              " \"b\": [\n"
              "\n"
              "  {\n"
              "   \"x\": 2,\n"
              "   \"y\": \"s\"\n"
              "  }\n"
              ",\n"
              "  {\n"
              "   \"x\": 3,\n"
              "   \"y\": \"t\"\n"
              "  },\n"
              "  \n"
              " ],\n"
              " \"c\": [\n"
              "  4,5\n"
              " ],\n"
              " \"d\": [\n"
              "  \n"
              " ]\n"
              "}\n");
}

TEST_F(WriterFixture, RecordsDissolveIntoBareValuesWithLabelsOff)
{
    for (bool readable : {true, false}) {
        gReadable = readable;
        PerfJSONWriter w(true, false);
        w.open(path.c_str());
        w.newElementStart(nullptr);
        w.writeArrayStart("data");
        w.setIncludeLabels(false);
        for (unsigned int i = 1; i <= 2; i++) {
            w.writeStructStart();
            w.writeNamed("id", i);
            w.writeNamed("v", i * 100);
            w.writeStructEnd();
        }
        w.writeArrayEnd();
        w.setIncludeLabels(true);
        w.newElementEnd();
        EXPECT_EQ(finish(w), readable ? "{\"data\":[\n1,100\n,2,200,]}\n" : "{\"data\":[1,100,2,200,]}\n");
    }
}

TEST_F(WriterFixture, NumbersAndStringsThroughTheWriter)
{
    PerfJSONWriter w(true, false);
    w.open(path.c_str());
    w.newElementStart(nullptr);
    w.writeNamed("d", 1000005.5);
    w.writeNamed("big", 18446744073709551615ULL);
    w.writeNamed("short", (unsigned short)65535);
    std::string quoted = "say \"hi\"";
    w.writeArrayStart("list");
    w.write(quoted);
    w.write(0.25);
    w.write(7ULL);
    w.write(8u);
    w.writeArrayEnd();
    w.newElementEnd();
    EXPECT_EQ(finish(w),
              "{\"d\":1000005.5,\"big\":18446744073709551615,\"short\":65535,\"list\":[\"say \\\"hi\\\"\",0.25,7,8,]}\n");
}

TEST_F(WriterFixture, CountArrayWritesTheCountCountTimesWithoutTrailingComma)
{
    PerfJSONWriter w(true, false);
    w.open(path.c_str());
    w.newElementStart(nullptr);
    unsigned long long unused[3] = {9, 9, 9};
    w.writeNamed("n", unused, 3);
    w.newElementEnd();
    EXPECT_EQ(finish(w), "{\"n\":[3,3,3]}\n");
}

TEST_F(WriterFixture, BufferedValuesJoinAfterDirectElements)
{
    PerfJSONWriter w(true, false);
    w.open(path.c_str());
    w.writeJson("[1, 2]");  // outside an array: waits for the next array end
    w.newElementStart(nullptr);
    w.writeArrayStart("s");
    w.write(5u);
    w.writeJson("[3, 4]");
    w.writeArrayEnd();
    w.newElementEnd();
    EXPECT_EQ(finish(w), "{\"s\":[5,[1, 2],[3, 4]]}\n");
}

TEST_F(WriterFixture, CloseEndsOpenContainersAndSecondCloseChangesNothing)
{
    PerfJSONWriter w(true, false);
    w.open(path.c_str());
    w.newElementStart(nullptr);
    w.writeArrayStart("a");
    w.newElementStart(nullptr);
    w.writeArrayStart("b");
    w.write(1u);
    w.close();
    w.close();
    EXPECT_EQ(readFile(path), "{\"a\":[{\"b\":[1]}]}\n");
}

TEST_F(WriterFixture, WhiteSpaceSwitchActsOnTheNextToken)
{
    PerfJSONWriter w(true, true);
    w.setWhiteSpace(false);  // before open: handed to the text writer by open
    w.open(path.c_str());
    w.newElementStart(nullptr);
    w.writeNamed("a", 1u);
    w.setWhiteSpace(true);
    w.writeNamed("b", 2u);
    w.setWhiteSpace(false);
    w.newElementEnd();
    EXPECT_EQ(finish(w), "{\"a\":1,\n \"b\": 2}\n");
}

TEST_F(WriterFixture, LabelsOffInsideAnObjectIsRefused)
{
    PerfJSONWriter w(false, false);
    w.open(path.c_str());
    w.newElementStart("ignored");
    testing::internal::CaptureStderr();
    w.writeNamed("a", 1u);
    std::string err = testing::internal::GetCapturedStderr();
    w.newElementEnd();
    EXPECT_EQ(err, "ERROR: JsonWriter::appendUnsignedInt() Invalid sequence. state: {\n");
    EXPECT_EQ(finish(w), "{}\n");
}

TEST_F(WriterFixture, NullNameIsRefusedAndUnwritablePathIsNot)
{
    PerfJSONWriter w(true, false);
    EXPECT_EQ(w.open(nullptr), -1);
    PerfJSONWriter elsewhere(true, false);
    EXPECT_EQ(elsewhere.open(scratch.path("missing/dir/out.json").c_str()), 0);
    elsewhere.newElementStart(nullptr);
    elsewhere.newElementEnd();
    elsewhere.close();
}
