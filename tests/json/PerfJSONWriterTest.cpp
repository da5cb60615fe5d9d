#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ConverterRun.h"
#include "PerfJSONWriter.h"
#include "Settings.h"

namespace {

// A writer opened on a file in a temporary directory; finish() closes it and
// returns what the file holds.
class WriterFixture : public testing::Test {
 protected:
  void TearDown() override { gReadable = savedReadable; }

  PerfJSONWriter& open(bool labels, bool whiteSpace) {
    writer = std::make_unique<PerfJSONWriter>(labels, whiteSpace);
    EXPECT_EQ(writer->open(path.c_str()), 0);
    return *writer;
  }

  std::string finish() {
    writer->close();
    return readFile(path);
  }

  ConverterRun scratch;
  std::string path = scratch.path("out.json");
  std::unique_ptr<PerfJSONWriter> writer;
  bool savedReadable = gReadable;
};

// One object with a number `a`, two records written with writeStructStart
// in `b`, a series `c` through writeJson and an empty array `d`.
void writeExample(PerfJSONWriter& w) {
  w.newElementStart(nullptr);
  w.writeNamed("a", 1u);
  w.writeArrayStart("b");
  for (unsigned int x : {2u, 3u}) {
    w.writeStructStart();
    w.writeNamed("x", x);
    w.writeNamed("y", x == 2 ? "s" : "t");
    w.writeStructEnd();
  }
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

TEST_F(WriterFixture, ExampleDocuments) {
  gReadable = true;
  writeExample(open(true, false));
  EXPECT_EQ(
      finish(),
      "{\"a\":1,\"b\":[\n{\"x\":2,\"y\":\"s\"}\n,{\"x\":3,\"y\":\"t\"},],\"c\":[4,5],\"d\":[]}\n");
  writeExample(open(true, true));
  EXPECT_EQ(finish(),
            "{\n \"a\": 1,\n \"b\": [\n"
            "\n  {\n   \"x\": 2,\n   \"y\": \"s\"\n  }\n"
            ",\n  {\n   \"x\": 3,\n   \"y\": \"t\"\n  },\n  \n ],\n"
            " \"c\": [\n  4,5\n ],\n"
            " \"d\": [\n  \n ]\n}\n");
  gReadable = false;
  writeExample(open(true, false));
  EXPECT_EQ(
      finish(),
      "{\"a\":1,\"b\":[{\"x\":2,\"y\":\"s\"},{\"x\":3,\"y\":\"t\"},],\"c\":[4,5],\"d\":[]}\n");
}

TEST_F(WriterFixture, RecordsDissolveIntoBareValuesWithLabelsOff) {
  for (bool readable : {true, false}) {
    gReadable = readable;
    PerfJSONWriter& w = open(true, false);
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
    EXPECT_EQ(finish(),
              readable ? "{\"data\":[\n1,100\n,2,200,]}\n" : "{\"data\":[1,100,2,200,]}\n");
  }
}

// Numbers and strings; a count array writes its count count times; a value
// buffered outside an array waits for the next array end.
TEST_F(WriterFixture, ValuesAndTheSideBuffer) {
  PerfJSONWriter& w = open(true, false);
  w.writeJson("[1, 2]");
  w.newElementStart(nullptr);
  w.writeNamed("d\"", 1000005.5);  // labels go out unescaped
  w.writeNamed("big", 18446744073709551615ULL);
  w.writeNamed("short", (unsigned short)65535);
  unsigned long long unused[3] = {9, 9, 9};
  w.writeNamed("n", unused, 3);
  std::string quoted = "say \"hi\"";
  w.writeArrayStart("list");
  w.write(quoted);
  w.write(0.25);
  w.write(7ULL);
  w.write(8u);
  w.writeJson("[3, 4]");
  w.writeArrayEnd();
  w.newElementEnd();
  EXPECT_EQ(finish(),
            "{\"d\"\":1000005.5,\"big\":18446744073709551615,\"short\":65535,\"n\":[3,3,3],"
            "\"list\":[\"say \\\"hi\\\"\",0.25,7,8,[1, 2],[3, 4]]}\n");
}

// The white-space switch acts on the next token, and one set before open is
// handed to the text writer; close ends what is open, and only once.
TEST_F(WriterFixture, WhiteSpaceSwitchAndClose) {
  PerfJSONWriter w(true, true);
  w.setWhiteSpace(false);
  w.open(path.c_str());
  w.newElementStart(nullptr);
  w.writeNamed("a", 1u);
  w.setWhiteSpace(true);
  w.writeNamed("b", 2u);
  w.setWhiteSpace(false);
  w.writeArrayStart("c");
  w.newElementStart(nullptr);
  w.writeArrayStart("d");
  w.write(1u);
  w.close();
  w.close();
  EXPECT_EQ(readFile(path), "{\"a\":1,\n \"b\": 2,\"c\":[{\"d\":[1]}]}\n");
}

// Labels off inside an object are refused; only a null name fails to open,
// a path that cannot be created does not.
TEST_F(WriterFixture, RefusedLabelsAndNames) {
  PerfJSONWriter& w = open(false, false);
  w.newElementStart("ignored");
  testing::internal::CaptureStderr();
  w.writeNamed("a", 1u);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ERROR: JsonWriter::appendUnsignedInt() Invalid sequence. state: {\n");
  w.newElementEnd();
  EXPECT_EQ(finish(), "{}\n");
  EXPECT_EQ(PerfJSONWriter(true, false).open(nullptr), -1);
  path = scratch.path("missing/dir/out.json");
  writeExample(open(true, false));
  finish();
}
