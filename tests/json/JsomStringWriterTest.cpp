#include <gtest/gtest.h>

#include <string>

#include "JsomStringWriter.h"

using loomstat::JsomStringWriter;

namespace {

struct Capture {
    std::string text;
    JsomStringWriter writer{text};
};

// Runs `body` and returns what it printed on standard error.
template <typename F>
std::string stderrOf(F body)
{
    testing::internal::CaptureStderr();
    body();
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(JsomStringWriter, CompactObjectWithNestedContainers)
{
    Capture c;
    c.writer.startObject();
    c.writer.appendLabel("a", false);
    c.writer.appendInt(-3);
    c.writer.appendLabel("b", false);
    c.writer.startArray();
    c.writer.appendUnsignedInt(4000000000u);
    c.writer.appendLong(-9000000000LL);
    c.writer.appendUnsignedLong(18446744073709551615ULL);
    c.writer.appendBoolean(true);
    c.writer.appendNull();
    c.writer.startObject();
    c.writer.endObject();
    c.writer.endArray();
    c.writer.appendLabel("c", false);
    c.writer.startArray();
    c.writer.endArray();
    c.writer.endObject();
    EXPECT_EQ(c.text, R"({"a":-3,"b":[4000000000,-9000000000,18446744073709551615,true,null,{}],"c":[]})");
}

TEST(JsomStringWriter, WhiteSpaceIndentsOneSpaceALevel)
{
    Capture c;
    c.writer._whiteSpace = true;
    c.writer.startObject();
    c.writer.appendLabel("a", false);
    c.writer.appendInt(1);
    c.writer.appendLabel("b", false);
    c.writer.startArray();
    c.writer.appendInt(2);
    c.writer.startObject();
    c.writer.endObject();
    c.writer.endArray();
    c.writer.endObject();
    EXPECT_EQ(c.text, "{\n \"a\": 1,\n \"b\": [\n  2,\n  {\n  }\n ]\n}");
}

TEST(JsomStringWriter, EmptyRootObjectWithWhiteSpace)
{
    Capture c;
    c.writer._whiteSpace = true;
    c.writer.startObject();
    c.writer.endObject();
    EXPECT_EQ(c.text, "{\n}");
}

TEST(JsomStringWriter, IndentStopsGrowingAndCarriesNulFrom47Levels)
{
    Capture c;
    c.writer._whiteSpace = true;
    for (int i = 0; i < 49; i++)
        c.writer.startArray();
    // The 49th array sits on a stack of 47 enclosing levels, the 48th on 46.
    std::string indent46 = "\n" + std::string(47, ' ');
    std::string indent47 = indent46 + std::string(1, '\0');
    c.text.clear();
    c.writer.appendInt(7);
    EXPECT_EQ(c.text, indent47 + "7");
    c.text.clear();
    c.writer.endArray();  // pops to the 48th array: 47 levels below it
    EXPECT_EQ(c.text, indent47 + "]");
    c.text.clear();
    c.writer.endArray();  // pops to the 47th: 46 levels below
    EXPECT_EQ(c.text, indent46 + "]");
}

TEST(JsomStringWriter, StringsEscapeSevenBytesOnly)
{
    Capture c;
    c.writer.startArray();
    std::string text("q\"b\\/\b\f\n\r\t\x01\xc3\xa9", 13);
    text.push_back('\0');
    text += "end";
    c.writer.appendString(text, false);
    c.writer.appendString(text, true);
    c.writer.appendString(nullptr, 0, false);
    c.writer.endArray();
    std::string expected = "[\"q\\\"b\\\\/\\b\\f\\n\\r\\t\x01\xc3\xa9";
    expected.push_back('\0');
    expected += "end\",\"" + text + "\",null]";
    EXPECT_EQ(c.text, expected);
}

TEST(JsomStringWriter, LabelsAreQuotedRawOrEscaped)
{
    Capture c;
    c.writer.startObject();
    c.writer.appendLabel("a\"b", true);
    c.writer.appendInt(1);
    c.writer.appendLabel("a\"b", false);
    c.writer.appendInt(2);
    c.writer.endObject();
    EXPECT_EQ(c.text, R"({"a"b":1,"a\"b":2})");
}

struct DoubleCase {
    double value;
    int precision;
    const char* text;
};

void PrintTo(const DoubleCase& c, std::ostream* os)
{
    *os << c.text;
}

class JsomStringWriterDouble : public testing::TestWithParam<DoubleCase> {};

TEST_P(JsomStringWriterDouble, Formats)
{
    Capture c;
    c.writer.appendDouble(GetParam().value, GetParam().precision);
    EXPECT_EQ(c.text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, JsomStringWriterDouble,
    testing::Values(DoubleCase{1.5, 9, "1.5"}, DoubleCase{2.0, 9, "2"}, DoubleCase{0.1, 9, "0.1"},
                    DoubleCase{0.0000000001, 9, "0"}, DoubleCase{-0.0000000001, 9, "-0"},
                    DoubleCase{100.0, 9, "100"}, DoubleCase{1e16, 9, "10000000000000000"},
                    DoubleCase{1.5e16, 9, "1.500000e+16"}, DoubleCase{-2e16, 9, "-2.000000e+16"},
                    DoubleCase{1000005.5, 9, "1000005.5"}, DoubleCase{2.5, 0, "2.500000"},
                    DoubleCase{2.0, 1, "2"}, DoubleCase{1.25, 1, "1.2"}));

TEST(JsomStringWriter, ZeroLengthJsonValueStillTakesAComma)
{
    Capture c;
    c.writer.startArray();
    c.writer.appendJsonValue("", 0);
    c.writer.appendJsonValue("1,2", 3);
    c.writer.appendJsonValue("", 0);
    c.writer.endArray();
    EXPECT_EQ(c.text, "[,1,2,]");
}

TEST(JsomStringWriter, EndClosesEverythingAndGivesAPendingLabelNull)
{
    Capture c;
    c.writer.startObject();
    c.writer.appendLabel("a", false);
    c.writer.startArray();
    c.writer.startObject();
    c.writer.appendLabel("b", false);
    c.writer.end();
    EXPECT_EQ(c.text, R"({"a":[{"b":null}]})");
    // Back in state 0, a further root is accepted without a separator.
    c.writer.startArray();
    c.writer.endArray();
    EXPECT_EQ(c.text, R"({"a":[{"b":null}]}[])");
}

// Each refused call prints one message with the state letter and changes nothing.
struct RefusalCase {
    const char* name;
    void (*setup)(JsomStringWriter&);
    void (*call)(JsomStringWriter&);
    std::string message;
};

void PrintTo(const RefusalCase& c, std::ostream* os)
{
    *os << c.name;
}

class JsomStringWriterRefusal : public testing::TestWithParam<RefusalCase> {};

TEST_P(JsomStringWriterRefusal, PrintsMessageAndLeavesTextAlone)
{
    Capture c;
    GetParam().setup(c.writer);
    std::string before = c.text;
    EXPECT_EQ(stderrOf([&] { GetParam().call(c.writer); }), GetParam().message);
    EXPECT_EQ(c.text, before);
}

static void openObject(JsomStringWriter& w) { w.startObject(); }
static void openFilledObject(JsomStringWriter& w)
{
    w.startObject();
    w.appendLabel("a", false);
    w.appendInt(1);
}
static void openArray(JsomStringWriter& w) { w.startArray(); }
static void pendingLabel(JsomStringWriter& w)
{
    w.startObject();
    w.appendLabel("a", false);
}
static void nothing(JsomStringWriter&) {}

INSTANTIATE_TEST_SUITE_P(
    Sequences, JsomStringWriterRefusal,
    testing::Values(
        RefusalCase{"ValueInObject", openObject, [](JsomStringWriter& w) { w.appendInt(1); },
                    "ERROR: JsonWriter::appendInt() Invalid sequence. state: {\n"},
        RefusalCase{"ArrayInFilledObject", openFilledObject, [](JsomStringWriter& w) { w.startArray(); },
                    "ERROR: JsonWriter::startArray() Invalid sequence. state: }\n"},
        RefusalCase{"JsonValueInObject", openObject, [](JsomStringWriter& w) { w.appendJsonValue("1", 1); },
                    "ERROR: JsonWriter::appendJsonValue() Invalid sequence. state: {\n"},
        RefusalCase{"LabelInArray", openArray, [](JsomStringWriter& w) { w.appendLabel("x", false); },
                    "ERROR: JsonWriter::appendLabel() No current object on stack. state: [\n"},
        RefusalCase{"SecondLabel", pendingLabel, [](JsomStringWriter& w) { w.appendLabel("x", false); },
                    "ERROR: JsonWriter::appendLabel() No current object on stack. state: :\n"},
        RefusalCase{"EndObjectWithPendingLabel", pendingLabel, [](JsomStringWriter& w) { w.endObject(); },
                    "ERROR: JsonWriter::endObject() No current object on stack. state: :\n"},
        RefusalCase{"EndArrayInObject", openObject, [](JsomStringWriter& w) { w.endArray(); },
                    "ERROR: JsonWriter::endArray() No current array on stack. state: {\n"},
        RefusalCase{"EndObjectInArray", openArray, [](JsomStringWriter& w) { w.endObject(); },
                    "ERROR: JsonWriter::endObject() No current object on stack. state: [\n"},
        RefusalCase{"EndArrayAtRoot", nothing, [](JsomStringWriter& w) { w.endArray(); },
                    std::string("ERROR: JsonWriter::endArray() No current array on stack. state: ") + '\0' + "\n"},
        RefusalCase{"LabelAtRoot", nothing, [](JsomStringWriter& w) { w.appendLabel("x", false); },
                    std::string("ERROR: JsonWriter::appendLabel() No current object on stack. state: ") + '\0' +
                        "\n"}),
    [](const testing::TestParamInfo<RefusalCase>& info) { return std::string(info.param.name); });

TEST(JsomStringWriter, PendingLabelSurvivesARefusedEnd)
{
    Capture c;
    pendingLabel(c.writer);
    stderrOf([&] { c.writer.endObject(); });
    c.writer.appendInt(5);
    c.writer.endObject();
    EXPECT_EQ(c.text, R"({"a":5})");
}
