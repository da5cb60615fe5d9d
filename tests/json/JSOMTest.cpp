#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

#include <unistd.h>

#include "JSOM.h"
#include "JsonTestSupport.h"

using loomstat::JSOM;
using loomstat::JSONData;

namespace {

JSOM parsed(const char* text) {
  JSOM doc;
  doc.fromString(text);
  return doc;
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
  // Keys on a non-object are pending until written.
  JSOM list = parsed("[1]");
  JSOM pending = list["k"];
  EXPECT_EQ(pending.kind(), JSOM::KIND_CHAR_KEY);
  EXPECT_TRUE(list.isArray());
  pending.setLong(3);
  EXPECT_EQ(compact(list), "{\"k\":3}");
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
  EXPECT_EQ(stderrOf([&] { doc.at(static_cast<const char*>(nullptr)); }),
            "JSOM::at(char *): null key pointer\n");
  EXPECT_EQ(stderrOf([&] { doc[static_cast<const char*>(nullptr)]; }),
            "JSOM::operator[](char *): null key pointer\n");
}

// Every write and lookup through the invalid handle reports a null reference
// under its own name, and the handle stays invalid (the lookups by C string
// and index are in the chain below).
TEST(JSOMInvalid, WritesAndLookupsReportANullReference) {
  const std::string key = "k";
  const std::pair<const char*, std::function<void(JSOM&)>> cases[] = {
      {"operator[](string &)", [&](JSOM& h) { h.at(key); }},
      {"at(char *)", [](JSOM& h) { h.at("k"); }},
      {"at(int32_t)", [](JSOM& h) { h.at(0); }},
      {"operator[](string &)", [&](JSOM& h) { h[key]; }},
      {"setString(string &)", [&](JSOM& h) { h.setString(key); }},
      {"setString(char *)", [](JSOM& h) { h.setString("v"); }},
      {"setDouble()", [](JSOM& h) { h.setDouble(1); }},
      {"setBoolean()", [](JSOM& h) { h.setBoolean(true); }},
      {"setLong()", [](JSOM& h) { h.setLong(1); }},
      {"copy()", [](JSOM& h) { h.copy(parsed("1")); }},
      {"operator[](int32_t)", [](JSOM& h) { EXPECT_EQ(&(h = parsed("1")), &JSOM::JERROR); }},
      {"fromString()", [](JSOM& h) { EXPECT_EQ(&h.fromString("1"), &JSOM::JERROR); }},
      {"fromStream()", [](JSOM& h) {
         std::istringstream in("1");
         EXPECT_TRUE(h.fromStream(in).fail());
       }}};
  for (const auto& [name, action] : cases) {
    JSOM handle = JSOM::JERROR;
    EXPECT_EQ(stderrOf([&] { action(handle); }),
              std::string("JSOM::") + name + ": null reference error\n");
    EXPECT_EQ(handle.kind(), JSOM::KIND_INVALID) << name;
  }
}

TEST(JSOMInvalidHandle, AnswersDefaultsAndChainsSafely) {
  JSOM error = JSOM::JERROR;
  std::string messages = stderrOf([&] { EXPECT_EQ(error["a"]["b"][0].longValue(3), 3); });
  EXPECT_EQ(messages,
            "JSOM::operator[](char *): null reference error\nJSOM::operator[](char *): null "
            "reference error\n"
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
TEST(JSOMAccessors, ConvertAndChangeTheNode) {
  const struct {
    const char* json;
    char accessor;  // l: longValue(5), d: doubleValue(5), b: booleanValue(true), s: stringValuePtr
    const char* result;
    const char* after;  // the node afterwards
  } cases[] = {{"\"12x\"", 'l', "5", "\"12x\""},
               {"\"-42\"", 'l', "-42", "-42"},
               {"\"99999999999999999999\"", 'l', "7766279631452241919", "7766279631452241919"},
               {"\"\"", 'l', "5", "\"\""},
               {"\"12.\"", 'd', "12", "12"},
               {"\"-1.25\"", 'd', "-1.25", "-1.25"},
               {"\"1.2.3\"", 'd', "5", "\"1.2.3\""},
               {"\"-\"", 'd', "5", "\"-\""},
               {"2.9", 'l', "2", "2.9"},
               {"true", 'd', "1", "true"},
               {"null", 'l', "5", "null"},
               {"0.5", 'b', "false", "0.5"},
               {"-1", 'b', "true", "-1"},
               {"12", 's', "12", "\"12\""},
               {"2.5", 's', "2.5", "\"2.5\""},
               {"true", 's', "true", "\"true\""},
               {"{}", 's', "<default>", "{}"}};
  for (const auto& c : cases) {
    JSOM doc = parsed(c.json);
    std::ostringstream result;
    switch (c.accessor) {
      case 'l': result << doc.longValue(5); break;
      case 'd': result << doc.doubleValue(5); break;
      case 'b': result << (doc.booleanValue(true) ? "true" : "false"); break;
      default: result << doc.stringValuePtr("<default>"); break;
    }
    EXPECT_EQ(result.str(), c.result) << c.json << " " << c.accessor;
    EXPECT_EQ(compact(doc), c.after) << c.json << " " << c.accessor;
  }
}

// Words recognised by length, ignoring case: 1 true, 0 false, -1 not
// recognised (the fallback answers).
TEST(JSOMBooleanWords, RecognisedByLengthIgnoringCase) {
  const std::pair<const char*, int> cases[] = {
      {"TRUE", 1}, {"Y", 1},   {"t", 1},      {"1", 1}, {"On", 1}, {"yes", 1},
      {"\x11", 1}, {"oFF", 0}, {"N", 0},      {"f", 0}, {"0", 0},  {"false", -1},
      {"no", -1},  {"", -1},   {"truee", -1}, {"2", -1}};
  for (const auto& [text, verdict] : cases) {
    for (bool fallback : {false, true}) {
      JSOM doc;
      doc.setString(text);
      EXPECT_EQ(doc.booleanValue(fallback), verdict < 0 ? fallback : verdict == 1) << text;
      EXPECT_EQ(doc.isBoolean(), verdict >= 0) << text;
    }
  }
}

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
  target = target["x"];  // from its own member, which survives until the copy is done
  EXPECT_EQ(compact(target), "[1,2]");
  alias.setLong(4);
  EXPECT_EQ(compact(source), "4");

  JSOM copied;
  copied.copy(source);
  EXPECT_EQ(compact(copied), "4");
  copied.copy(JSOM::BLANK);
  EXPECT_EQ(compact(copied), "false");
}

// fromString keeps partial trees and ignores trailing text; fromStream and
// toStream; fromFile and toFile with their messages.
TEST(JSOMLoading, StringsStreamsAndFiles) {
  JSOM doc;
  EXPECT_EQ(&doc.fromString("[1] trailing"), &doc);
  doc = doc.fromString("[2]");  // the caller's idiom: the assignment is a no-op
  EXPECT_EQ(compact(doc), "[1,2]");
  JSOM partial;
  stderrOf([&] { EXPECT_EQ(&partial.fromString(std::string("[1,2,x]")), &JSOM::JERROR); });
  EXPECT_EQ(compact(partial), "[1,2]");
  JSOM none;
  EXPECT_EQ(&none.fromString(static_cast<const char*>(nullptr)), &JSOM::JERROR);
  EXPECT_TRUE(none.isValid());  // the node was made before the text was looked at

  JSOM streamed;
  std::istringstream in("{\"a\":[true,\"x\"]}");
  EXPECT_FALSE(streamed.fromStream(in).fail());
  std::ostringstream out;
  streamed.toStream(out);
  EXPECT_EQ(out.str(), "{\"a\":[true,\"x\"]}");
  JSOM bad, untouched;
  std::istringstream broken("[1,");
  stderrOf([&] { EXPECT_TRUE(bad.fromStream(broken).fail()); });
  EXPECT_TRUE(untouched.fromStream(broken).fail());
  EXPECT_EQ(untouched.kind(), JSOM::KIND_BLANK);

  const std::string dir = testing::TempDir() + "jsomtest-" + std::to_string(getpid());
  std::filesystem::create_directories(dir);
  std::ofstream(dir + "/in.json") << "{\"a\":[1,2.5]} trailing";
  std::ofstream(dir + "/empty.json").close();
  EXPECT_EQ(&doc.fromFile((dir + "/in.json").c_str()), &doc);
  ASSERT_TRUE(doc.toFile((dir + "/out.json").c_str()));
  std::ifstream saved(dir + "/out.json");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(saved), {}),
            "{\n \"a\": [\n  1,\n  2.5\n ]\n}");
  ASSERT_TRUE(JSOM::BLANK.toFile((dir + "/blank.json").c_str()));
  EXPECT_EQ(std::filesystem::file_size(dir + "/blank.json"), 0u);
  EXPECT_EQ(stderrOf([&] {
              EXPECT_EQ(&doc.fromFile((dir + "/missing.json").c_str()), &JSOM::JERROR);
              EXPECT_EQ(&doc.fromFile((dir + "/empty.json").c_str()), &JSOM::JERROR);
              EXPECT_FALSE(doc.toFile((dir + "/no/such.json").c_str()));
            }),
            "JSOM::fromFile(): could not open file\nJSOM::fromFile(): could not read file\n"
            "JSOM::toFile(): could not write file\n");
  std::filesystem::remove_all(dir);
}

// ${NAME} is replaced by a set variable only, once, in string values but not keys.
TEST(JSOMExpand, SubstitutesSetVariablesOnly) {
  setenv("ZJ_A", "alpha", 1);
  setenv("ZJ_C", "${ZJ_A}", 1);
  unsetenv("ZJ_NOPE");
  const std::pair<const char*, const char*> cases[] = {{"${ZJ_A}/x", "alpha/x"},
                                                       {"${ZJ_NOPE}/x", "${ZJ_NOPE}/x"},
                                                       {"${ZJ_A}/${ZJ_NOPE}", "alpha/${ZJ_NOPE}"},
                                                       {"${}", "${}"},
                                                       {"${ZJ_A", "${ZJ_A"},
                                                       {"${ZJ_A}/${ZJ_NOPE", "alpha/${ZJ_NOPE"},
                                                       {"$ZJ_A", "$ZJ_A"},
                                                       {"${ZJ_A${ZJ_A}}", "${ZJ_A${ZJ_A}}"},
                                                       {"p${ZJ_A}${ZJ_A}$", "palphaalpha$"},
                                                       {"${ZJ_C}", "${ZJ_A}"}};
  for (const auto& [text, expanded] : cases) {
    JSOM doc;
    doc.setString(text);
    doc.expandValues();
    EXPECT_EQ(doc.stringValue(JSOM::EMPTY_STRING), expanded) << text;
  }
  JSOM doc = parsed("{\"${ZJ_A}\":[\"${ZJ_A}\",{\"k\":\"${ZJ_A}\"},5,null]}");
  doc.expandValues();
  EXPECT_EQ(compact(doc), "{\"${ZJ_A}\":[\"alpha\",{\"k\":\"alpha\"},5,null]}");
  unsetenv("ZJ_A");
  unsetenv("ZJ_C");
}

}  // namespace
