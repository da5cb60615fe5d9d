#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <unistd.h>

#include "JSOM.h"

using loomstat::JSOM;
using loomstat::JSONData;

namespace {

JSOM parsed(const char* text) {
  JSOM doc;
  doc.fromString(text);
  return doc;
}

std::string compact(const JSOM& doc) {
  std::string out;
  return doc.toCompactString(out, 6);
}

std::string stderrOf(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

TEST(JSOMLookup, ReadingThroughPendingHandlesCreatesOnlyIntermediateObjects) {
  JSOM doc = parsed("{\"a\":1}");
  EXPECT_EQ(doc["x"].longValue(7), 7);
  EXPECT_EQ(doc.size(), 1);
  EXPECT_EQ(doc["x"]["y"].longValue(7), 7);
  EXPECT_EQ(compact(doc), "{\"a\":1,\"x\":{}}");
  doc["n"].setString("v");
  doc[std::string("m")].setLong(2);
  EXPECT_EQ(compact(doc), "{\"a\":1,\"x\":{},\"n\":\"v\",\"m\":2}");
  EXPECT_EQ(doc[2].stringValue(JSOM::EMPTY_STRING), "v");  // an index walks the entries
  EXPECT_EQ(*doc.key(3), "m");

  JSOM blank;
  blank["k"][-1].setBoolean(true);  // a blank handle becomes a new root
  EXPECT_EQ(compact(blank), "{\"k\":[true]}");
}

TEST(JSOMLookup, KeysOnANonObjectArePendingUntilWritten) {
  JSOM doc = parsed("[1]");
  JSOM pending = doc["k"];
  EXPECT_EQ(pending.kind(), JSOM::KIND_CHAR_KEY);
  EXPECT_TRUE(doc.isArray());
  pending.setLong(3);
  EXPECT_EQ(compact(doc), "{\"k\":3}");
}

TEST(JSOMLookup, IndexesAppendAtMinusOneAndTheEnd) {
  JSOM doc = parsed("[1,2]");
  doc[-1].setLong(5);
  doc[3].setLong(6);
  EXPECT_EQ(compact(doc), "[1,2,5,6]");
  EXPECT_EQ(doc[1].longValue(0), 2);
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(doc[5].kind(), JSOM::KIND_INVALID); }),
            "JSOM::operator[](int32_t): index out of bounds\n");
  EXPECT_EQ(stderrOf([&] { doc.at(-2); }), "JSOM::at(int32_t): index out of bounds\n");
  EXPECT_EQ(stderrOf([&] { doc.at(static_cast<const char*>(nullptr)); }), "JSOM::at(char *): null key pointer\n");
  EXPECT_EQ(stderrOf([&] { doc[static_cast<const char*>(nullptr)]; }),
            "JSOM::operator[](char *): null key pointer\n");
}

struct InvalidCase {
  const char* name;
  std::function<void(JSOM&)> action;
};

class JSOMInvalid : public testing::TestWithParam<InvalidCase> {};

TEST_P(JSOMInvalid, WritesAndLookupsReportANullReference) {
  JSOM handle = JSOM::JERROR;
  EXPECT_EQ(stderrOf([&] { GetParam().action(handle); }),
            std::string("JSOM::") + GetParam().name + ": null reference error\n");
  EXPECT_EQ(handle.kind(), JSOM::KIND_INVALID);
}

const std::string kKey = "k";
INSTANTIATE_TEST_SUITE_P(
    Operations, JSOMInvalid,
    testing::Values(InvalidCase{"operator[](string &)", [](JSOM& h) { h.at(kKey); }},
                    InvalidCase{"at(char *)", [](JSOM& h) { h.at("k"); }},
                    InvalidCase{"at(int32_t)", [](JSOM& h) { h.at(0); }},
                    InvalidCase{"operator[](string &)", [](JSOM& h) { h[kKey]; }},
                    InvalidCase{"operator[](char *)", [](JSOM& h) { h["k"]; }},
                    InvalidCase{"operator[](int32_t)", [](JSOM& h) { h[0]; }},
                    InvalidCase{"setString(string &)", [](JSOM& h) { h.setString(kKey); }},
                    InvalidCase{"setString(char *)", [](JSOM& h) { h.setString("v"); }},
                    InvalidCase{"setDouble()", [](JSOM& h) { h.setDouble(1); }},
                    InvalidCase{"setBoolean()", [](JSOM& h) { h.setBoolean(true); }},
                    InvalidCase{"setLong()", [](JSOM& h) { h.setLong(1); }},
                    InvalidCase{"copy()", [](JSOM& h) { h.copy(parsed("1")); }},
                    InvalidCase{"operator[](int32_t)", [](JSOM& h) { EXPECT_EQ(&(h = parsed("1")), &JSOM::JERROR); }},
                    InvalidCase{"fromString()", [](JSOM& h) { EXPECT_EQ(&h.fromString("1"), &JSOM::JERROR); }},
                    InvalidCase{"fromStream()", [](JSOM& h) {
                                  std::istringstream in("1");
                                  EXPECT_TRUE(h.fromStream(in).fail());
                                }}));

TEST(JSOMInvalidHandle, AnswersDefaultsAndChainsSafely) {
  JSOM error = JSOM::JERROR;
  std::string messages = stderrOf([&] { EXPECT_EQ(error["a"]["b"][0].longValue(3), 3); });
  EXPECT_EQ(messages,
            "JSOM::operator[](char *): null reference error\nJSOM::operator[](char *): null reference error\n"
            "JSOM::operator[](int32_t): null reference error\n");
  EXPECT_EQ(error.size(), 0);
  EXPECT_FALSE(error.isNull() || error.isObject() || error.isNumber() || error.isValid());
  EXPECT_EQ(error.stringValuePtr("d"), std::string("d"));

  JSONData* parent = new JSONData(0);
  JSOM orphan(nullptr, parent);
  EXPECT_EQ(stderrOf([&] { orphan.setLong(1); }), "JSOM::setLong(): internal error, no info\n");
}

// Reading through an accessor converts: numbers and booleans read as text
// become strings, and whole-number strings read as numbers become numbers.
struct AccessCase {
  const char* json;
  char accessor;  // l: longValue(5), d: doubleValue(5), b: booleanValue(true), s: stringValuePtr
  const char* result;
  const char* after;  // the node afterwards
};

class JSOMAccessors : public testing::TestWithParam<AccessCase> {};

TEST_P(JSOMAccessors, ConvertAndChangeTheNode) {
  JSOM doc = parsed(GetParam().json);
  std::ostringstream result;
  switch (GetParam().accessor) {
    case 'l': result << doc.longValue(5); break;
    case 'd': result << doc.doubleValue(5); break;
    case 'b': result << (doc.booleanValue(true) ? "true" : "false"); break;
    default: result << doc.stringValuePtr("<default>"); break;
  }
  EXPECT_EQ(result.str(), GetParam().result);
  EXPECT_EQ(compact(doc), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, JSOMAccessors,
    testing::Values(AccessCase{"\"12x\"", 'l', "5", "\"12x\""}, AccessCase{"\"-42\"", 'l', "-42", "-42"},
                    AccessCase{"\"99999999999999999999\"", 'l', "7766279631452241919", "7766279631452241919"},
                    AccessCase{"\"\"", 'l', "5", "\"\""}, AccessCase{"\"12.\"", 'd', "12", "12"},
                    AccessCase{"\"-1.25\"", 'd', "-1.25", "-1.25"}, AccessCase{"\"1.2.3\"", 'd', "5", "\"1.2.3\""},
                    AccessCase{"\"-\"", 'd', "5", "\"-\""}, AccessCase{"2.9", 'l', "2", "2.9"},
                    AccessCase{"true", 'd', "1", "true"}, AccessCase{"null", 'l', "5", "null"},
                    AccessCase{"0.5", 'b', "false", "0.5"}, AccessCase{"-1", 'b', "true", "-1"},
                    AccessCase{"12", 's', "12", "\"12\""}, AccessCase{"2.5", 's', "2.5", "\"2.5\""},
                    AccessCase{"true", 's', "true", "\"true\""}, AccessCase{"{}", 's', "<default>", "{}"}));

struct BooleanCase {
  const char* text;
  int verdict;  // 1 true, 0 false, -1 not recognised
};

class JSOMBooleanWords : public testing::TestWithParam<BooleanCase> {};

TEST_P(JSOMBooleanWords, RecognisedByLengthIgnoringCase) {
  for (bool fallback : {false, true}) {
    JSOM doc;
    doc.setString(GetParam().text);
    const bool expected = GetParam().verdict < 0 ? fallback : GetParam().verdict == 1;
    EXPECT_EQ(doc.booleanValue(fallback), expected);
    EXPECT_EQ(doc.isBoolean(), GetParam().verdict >= 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Words, JSOMBooleanWords,
                         testing::Values(BooleanCase{"TRUE", 1}, BooleanCase{"Y", 1}, BooleanCase{"t", 1},
                                         BooleanCase{"1", 1}, BooleanCase{"On", 1}, BooleanCase{"yes", 1},
                                         BooleanCase{"\x11", 1}, BooleanCase{"oFF", 0}, BooleanCase{"N", 0},
                                         BooleanCase{"f", 0}, BooleanCase{"0", 0}, BooleanCase{"false", -1},
                                         BooleanCase{"no", -1}, BooleanCase{"", -1}, BooleanCase{"truee", -1},
                                         BooleanCase{"2", -1}));

TEST(JSOMWriting, SettersAssignmentAndCopy) {
  JSOM doc;
  doc.setString(static_cast<const char*>(nullptr));
  EXPECT_TRUE(doc.isNull());

  JSOM source = parsed("{\"x\":[1]}");
  JSOM alias = source;  // a copy shares the node
  JSOM target;
  target = source;  // assignment copies the tree
  target["x"][-1].setLong(2);
  EXPECT_EQ(compact(source), "{\"x\":[1]}");
  EXPECT_EQ(compact(target), "{\"x\":[1,2]}");
  const JSOM& itself = target;
  target = itself;
  target = JSOM::BLANK;
  EXPECT_EQ(compact(target), "{\"x\":[1,2]}");
  target = target["x"];  // from its own member
  EXPECT_EQ(compact(target), "[1,2]");
  alias.setLong(4);
  EXPECT_EQ(compact(source), "4");

  JSOM copied;
  copied.copy(source);
  EXPECT_EQ(compact(copied), "4");
  copied.copy(JSOM::BLANK);
  EXPECT_EQ(compact(copied), "false");
  JSOM list = parsed("[1,2,3]");
  list.erase(-1).erase(0);
  EXPECT_EQ(compact(list), "[2]");
  list.clear();
  EXPECT_EQ(list.size(), 0);
}

TEST(JSOMLoading, FromStringKeepsPartialTreesAndIgnoresTrailingText) {
  JSOM doc;
  EXPECT_EQ(&doc.fromString("[1] trailing"), &doc);
  doc = doc.fromString("[2]");  // the caller's idiom: the assignment is a no-op
  EXPECT_EQ(compact(doc), "[1,2]");
  JSOM partial;
  testing::internal::CaptureStderr();
  EXPECT_EQ(&partial.fromString(std::string("[1,2,x]")), &JSOM::JERROR);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(compact(partial), "[1,2]");
  JSOM none;
  EXPECT_EQ(&none.fromString(static_cast<const char*>(nullptr)), &JSOM::JERROR);
  EXPECT_TRUE(none.isValid());  // the node was made before the text was looked at
}

TEST(JSOMFiles, LoadAndSave) {
  char pattern[] = "/tmp/jsomtest.XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string dir = pattern;
  auto read = [](const std::string& name) {
    std::ifstream in(name);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  };
  std::ofstream(dir + "/in.json") << "{\"a\":[1,2.5]} trailing";
  std::ofstream(dir + "/empty.json").close();
  JSOM doc;
  EXPECT_EQ(&doc.fromFile((dir + "/in.json").c_str()), &doc);
  ASSERT_TRUE(doc.toFile((dir + "/out.json").c_str()));
  EXPECT_EQ(read(dir + "/out.json"), "{\n \"a\": [\n  1,\n  2.5\n ]\n}");
  ASSERT_TRUE(JSOM::BLANK.toFile((dir + "/out.json").c_str()));
  EXPECT_EQ(read(dir + "/out.json"), "");
  std::string messages = stderrOf([&] {
    EXPECT_EQ(&doc.fromFile((dir + "/missing.json").c_str()), &JSOM::JERROR);
    EXPECT_EQ(&doc.fromFile((dir + "/empty.json").c_str()), &JSOM::JERROR);
    EXPECT_FALSE(doc.toFile((dir + "/no/such.json").c_str()));
  });
  EXPECT_EQ(messages,
            "JSOM::fromFile(): could not open file\nJSOM::fromFile(): could not read file\n"
            "JSOM::toFile(): could not write file\n");
  std::filesystem::remove_all(dir);
}

TEST(JSOMStreams, FromStreamAndToStream) {
  JSOM doc;
  std::istringstream in("{\"a\":[true,\"x\"]}");
  EXPECT_FALSE(doc.fromStream(in).fail());
  std::ostringstream out;
  doc.toStream(out);
  EXPECT_EQ(out.str(), "{\"a\":[true,\"x\"]}");

  JSOM bad;
  std::istringstream broken("[1,");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(bad.fromStream(broken).fail());
  testing::internal::GetCapturedStderr();
  JSOM untouched;
  EXPECT_TRUE(untouched.fromStream(broken).fail());
  EXPECT_EQ(untouched.kind(), JSOM::KIND_BLANK);
}

struct ExpandCase {
  const char* text;
  const char* expanded;
};

class JSOMExpandEnv : public testing::Test {
 protected:
  void SetUp() override {
    setenv("ZJ_A", "alpha", 1);
    setenv("ZJ_C", "${ZJ_A}", 1);
    unsetenv("ZJ_NOPE");
  }
  void TearDown() override {
    unsetenv("ZJ_A");
    unsetenv("ZJ_C");
  }
};

class JSOMExpand : public JSOMExpandEnv, public testing::WithParamInterface<ExpandCase> {};

TEST_P(JSOMExpand, SubstitutesSetVariablesOnly) {
  JSOM doc;
  doc.setString(GetParam().text);
  doc.expandValues();
  EXPECT_EQ(doc.stringValue(JSOM::EMPTY_STRING), GetParam().expanded);
}

INSTANTIATE_TEST_SUITE_P(
    References, JSOMExpand,
    testing::Values(ExpandCase{"${ZJ_A}/x", "alpha/x"}, ExpandCase{"${ZJ_NOPE}/x", "${ZJ_NOPE}/x"},
                    ExpandCase{"${ZJ_A}/${ZJ_NOPE}", "alpha/${ZJ_NOPE}"}, ExpandCase{"${}", "${}"},
                    ExpandCase{"${ZJ_A", "${ZJ_A"}, ExpandCase{"${ZJ_A}/${ZJ_NOPE", "alpha/${ZJ_NOPE"},
                    ExpandCase{"$ZJ_A", "$ZJ_A"}, ExpandCase{"${ZJ_A${ZJ_A}}", "${ZJ_A${ZJ_A}}"},
                    ExpandCase{"p${ZJ_A}${ZJ_A}$", "palphaalpha$"}, ExpandCase{"${ZJ_C}", "${ZJ_A}"}));

TEST_F(JSOMExpandEnv, WalksTheTreeButNotTheKeys) {
  JSOM doc = parsed("{\"${ZJ_A}\":[\"${ZJ_A}\",{\"k\":\"${ZJ_A}\"},5,null]}");
  doc.expandValues();
  EXPECT_EQ(compact(doc), "{\"${ZJ_A}\":[\"alpha\",{\"k\":\"alpha\"},5,null]}");
}

}  // namespace
