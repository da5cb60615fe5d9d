#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

#include "JSONData.h"
#include "JsonTestSupport.h"

using loomstat::JSONData;

namespace {

enum class Twin { Cursor, Stream };

// Parses text with one twin; returns the success flag, what went to standard
// error, and the input left after the parse.
bool parse(Twin twin, JSONData& node, const std::string& text, std::string& messages,
           std::string* rest = nullptr) {
  testing::internal::CaptureStderr();
  const char* cursor = text.c_str();
  std::istringstream stream(text);
  const bool ok =
      twin == Twin::Cursor ? node.setFromJsonString(cursor) : node.setFromStream(stream);
  messages = testing::internal::GetCapturedStderr();
  stream.clear();
  if (rest != nullptr)
    *rest = twin == Twin::Cursor ? std::string(cursor)
                                 : std::string(std::istreambuf_iterator<char>(stream), {});
  return ok;
}

struct ParseCase {
  const char* text;
  bool ok;
  const char* tree;     // compact form of what the node holds afterwards
  const char* message;  // the syntax error printed, or empty
  const char* rest;     // the input left after a success
};

class JSONParse : public testing::TestWithParam<std::tuple<Twin, ParseCase>> {};

TEST_P(JSONParse, ResultTreeAndMessage) {
  const Twin twin = std::get<0>(GetParam());
  const ParseCase& c = std::get<1>(GetParam());
  JSONData node;
  std::string messages, rest;
  EXPECT_EQ(parse(twin, node, c.text, messages, &rest), c.ok);
  EXPECT_EQ(compact(node), c.tree);
  if (c.ok) {
    EXPECT_EQ(rest, c.rest);
  }
  std::string expected;
  if (*c.message != '\0') {
    expected = std::string("JSONData::") +
               (twin == Twin::Cursor ? "setFromJsonString()" : "setFromStream()") +
               ": syntax error: " + c.message + "\n";
  }
  EXPECT_EQ(messages, expected);
}

const ParseCase kCases[] = {
    // Containers, trailing commas, and what survives a failure.
    {"{\"a\":{\"b\":[1,2,],},}", true, "{\"a\":{\"b\":[1,2]}}", "", ""},
    {"[1,,2]", false, "[1]", "missing value", ""},
    {"[1}", false, "[]", "array comma or end expected", ""},
    {"[}", false, "[]", "array not closed", ""},
    {"[1,}", false, "[1]", "array not closed", ""},
    {"{1:2}", false, "{}", "object key must be a string", ""},
    {"{\"a\":1,,}", false, "{\"a\":1}", "invalid string for object key", ""},
    {"{\"a\" 1}", false, "{}", "object colon expected", ""},
    {"{\"a\":1]", false, "{}", "object comma or end expected", ""},
    {"{\"a\":1,]", false, "{\"a\":1}", "object not closed", ""},
    {"{\"a\":", false, "{}", "", ""},  // the member fails silently at the end
    {"[1,[2,", false, "[1]", "array not closed", ""},
    // Comments, wherever white space may stand.
    {"/* c */ [ // x\n 1 /* y */, 2 ] // end", true, "[1,2]", "", " // end"},
    {"/*/ [1] */ 5", true, "5", "", ""},
    {"[1/**/0]", false, "[]", "array comma or end expected", ""},
    {"/x", false, "", "missing value", ""},
    {"/* open", false, "", "", ""},
    // Numbers.
    {"+1", false, "", "invalid number", ""},
    {"[-]", false, "[]", "invalid number", ""},
    {"-0", true, "0", "", ""},
    {"-007", true, "-7", "", ""},
    {".5", false, "", "missing value", ""},
    {"[1.5,-0.25,3.000,12.]", true, "[1.5,-0.25,3,12]", "", ""},
    {"1e5", true, "1", "", "e5"},
    {"9223372036854775808", true, "-9223372036854775808", "", ""},
    {"18446744073709551617", true, "1", "", ""},
    // Keywords.
    {"[true,false,null]", true, "[true,false,null]", "", ""},
    {"nullx", true, "null", "", "x"},
    {"nul", false, "", "invalid null value", ""},
    {"fals", false, "", "invalid boolean value", ""},
    // Strings.
    {"\"a\\qb\"", true, "\"a\\\\qb\"", "", ""},
    {"\"\\n\\t\\r\\b\\f\\\"\\\\\\/\"", true, "\"\\n\\t\\r\\b\\f\\\"\\\\/\"", "", ""},
    {"\"\\u1234\\u00e9\\u00E9\\u00AF\"", true, "\"4\xe9\x99Z\"", "", ""},
    {"\"raw\nline\"", true, "\"raw\\nline\"", "", ""},
    {"\"ab\\u12g4\"", false, "\"ab\"", "invalid string", ""},
    {"\"abc", false, "\"abc\"", "invalid string", ""},
    // Empty input, stray tokens, text after the value.
    {"", false, "", "", ""},
    {"x", false, "", "missing value", ""},
    {"]", false, "", "missing value", ""},
    {"[1] garbage", true, "[1]", "", " garbage"},
};

INSTANTIATE_TEST_SUITE_P(Both, JSONParse,
                         testing::Combine(testing::Values(Twin::Cursor, Twin::Stream),
                                          testing::ValuesIn(kCases)));

class JSONParseTwin : public testing::TestWithParam<Twin> {};

// Number types and signs; the fraction's divisor is a wrapping power of ten,
// which at the 64th digit wraps to zero. A parse into a container extends it.
TEST_P(JSONParseTwin, NumbersAndExtendedContainers) {
  JSONData node;
  std::string messages;
  ASSERT_TRUE(parse(GetParam(), node, "[-0,-0.0,12.,0.05]", messages));
  EXPECT_EQ(node.getByIndex(0)->_type, JSONData::TYPE_LONG);
  EXPECT_EQ(node.getByIndex(1)->_type, JSONData::TYPE_DOUBLE);
  EXPECT_TRUE(std::signbit(node.getByIndex(1)->doubleValue()));
  EXPECT_EQ(node.getByIndex(2)->_type, JSONData::TYPE_DOUBLE);
  EXPECT_EQ(node.getByIndex(3)->doubleValue(), 0.05);
  ASSERT_TRUE(parse(GetParam(), node, "0." + std::string(63, '0') + "1", messages));
  EXPECT_EQ(node.doubleValue(), HUGE_VAL);
  node.reset();
  ASSERT_TRUE(parse(GetParam(), node, "{\"x\":1}", messages));
  ASSERT_TRUE(parse(GetParam(), node, "{\"y\":2,\"x\":3}", messages));
  EXPECT_EQ(compact(node), "{\"x\":1,\"y\":2,\"x\":3}");
  EXPECT_EQ(node.getByKey("x")->longValue(), 3);  // lookups take the last
}

TEST_P(JSONParseTwin, NestingIsLimited) {
  const int limit = JSONData::kMaxParseDepth;
  JSONData node;
  std::string messages;
  EXPECT_TRUE(parse(GetParam(), node, std::string(limit, '[') + std::string(limit, ']'), messages));
  EXPECT_EQ(messages, "");
  node.reset();
  EXPECT_FALSE(
      parse(GetParam(), node, std::string(limit + 1, '[') + std::string(limit + 1, ']'), messages));
  EXPECT_EQ(messages, std::string("JSONData::") +
                          (GetParam() == Twin::Cursor ? "setFromJsonString()" : "setFromStream()") +
                          ": syntax error: missing value\n");
  EXPECT_EQ(compact(node), "[]");
}

INSTANTIATE_TEST_SUITE_P(Both, JSONParseTwin, testing::Values(Twin::Cursor, Twin::Stream));

// Where the twins differ: a null cursor; a mismatched keyword leaves the
// cursor but loses the bytes read from a stream; NUL bytes in strings.
TEST(JSONParseTwins, Differences) {
  JSONData node;
  const char* text = nullptr;
  EXPECT_FALSE(node.setFromJsonString(text));
  std::string messages, rest;
  const char* const bad = "nulx1";
  text = bad;
  stderrOf([&] { EXPECT_FALSE(node.setFromJsonString(text)); });
  EXPECT_EQ(text, bad);
  EXPECT_FALSE(parse(Twin::Stream, node, bad, messages, &rest));
  EXPECT_EQ(rest, "1");

  const std::string backslashNul("\"a\\\0b\"", 6);
  const std::string plainNul("\"a\0b\"", 5);
  EXPECT_FALSE(parse(Twin::Cursor, node, backslashNul, messages));
  EXPECT_EQ(*node.stringValue(), "a");
  EXPECT_FALSE(parse(Twin::Cursor, node, plainNul, messages));
  EXPECT_EQ(messages, "JSONData::setFromJsonString(): syntax error: invalid string\n");
  ASSERT_TRUE(parse(Twin::Stream, node, backslashNul, messages));
  EXPECT_EQ(*node.stringValue(), std::string("a\\\0b", 4));
  ASSERT_TRUE(parse(Twin::Stream, node, plainNul, messages));
  EXPECT_EQ(*node.stringValue(), std::string("a\0b", 3));
}

}  // namespace
