#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "JsomStringWriter.h"

using loomstat::JsomStringWriter;

namespace {

// Runs a script of writer calls, one token each: { } [ ] start and end a
// container, k:x and r:x write an escaped and a raw label, i: u: l: U: the
// four integer kinds, j:text a ready-made value, t true, n null, E end().
// Returns the text; what went to standard error lands in `err`.
std::string drive(const std::string& script, bool whiteSpace, std::string& err) {
  std::string text;
  JsomStringWriter w(text);
  w._whiteSpace = whiteSpace;
  testing::internal::CaptureStderr();
  std::istringstream tokens(script);
  for (std::string t; tokens >> t;) {
    const std::string arg = t.size() > 2 ? t.substr(2) : "";
    switch (t[0]) {
      case '{': w.startObject(); break;
      case '}': w.endObject(); break;
      case '[': w.startArray(); break;
      case ']': w.endArray(); break;
      case 'k': w.appendLabel(arg.c_str(), false); break;
      case 'r': w.appendLabel(arg.c_str(), true); break;
      case 'i': w.appendInt(std::stoi(arg)); break;
      case 'u': w.appendUnsignedInt((unsigned int)std::stoul(arg)); break;
      case 'l': w.appendLong(std::stoll(arg)); break;
      case 'U': w.appendUnsignedLong(std::stoull(arg)); break;
      case 'j': w.appendJsonValue(arg.data(), (int)arg.size()); break;
      case 't': w.appendBoolean(true); break;
      case 'n': w.appendNull(); break;
      case 'E': w.end(); break;
      default: ADD_FAILURE() << "unknown token " << t;
    }
  }
  err = testing::internal::GetCapturedStderr();
  return text;
}

const std::string kNul(1, '\0');
std::string refused(const std::string& what, const std::string& state) {
  return "ERROR: JsonWriter::" + what + " state: " + state + "\n";
}

}  // namespace

// Token sequences and the text they give. A refused call prints one message
// with the state letter and leaves the text as it was.
TEST(JsomStringWriter, SequencesAndTransitions) {
  const struct {
    bool whiteSpace;
    const char* script;
    std::string text;
    std::string err;
  } cases[] = {
      {false,
       "{ k:a i:-3 k:b [ u:4000000000 l:-9000000000 U:18446744073709551615 t n { } ] k:c [ ] }",
       R"({"a":-3,"b":[4000000000,-9000000000,18446744073709551615,true,null,{}],"c":[]})", ""},
      {true, "{ k:a i:1 k:b [ i:2 { } ] }", "{\n \"a\": 1,\n \"b\": [\n  2,\n  {\n  }\n ]\n}", ""},
      {true, "{ }", "{\n}", ""},
      {false, "{ r:a\"b i:1 k:a\"b i:2 }", R"({"a"b":1,"a\"b":2})", ""},
      {false, "[ j: j:1,2 j: ]", "[,1,2,]", ""},  // an empty value still takes its comma
      // end() closes everything and gives a pending label null; a further root follows without a
      // separator.
      {false, "{ k:a [ { k:b E [ ]", R"({"a":[{"b":null}]}[])", ""},
      // A refused end leaves the pending label in place.
      {false, "{ k:a } i:5 }", R"({"a":5})",
       refused("endObject() No current object on stack.", ":")},
      {false, "{ i:1", "{", refused("appendInt() Invalid sequence.", "{")},
      {false, "{ k:a i:1 [", R"({"a":1)", refused("startArray() Invalid sequence.", "}")},
      {false, "{ j:1", "{", refused("appendJsonValue() Invalid sequence.", "{")},
      {false, "[ k:x", "[", refused("appendLabel() No current object on stack.", "[")},
      {false, "{ k:a k:x", R"({"a":)", refused("appendLabel() No current object on stack.", ":")},
      {false, "{ ]", "{", refused("endArray() No current array on stack.", "{")},
      {false, "[ }", "[", refused("endObject() No current object on stack.", "[")},
      {false, "]", "", refused("endArray() No current array on stack.", kNul)},
      {false, "k:x", "", refused("appendLabel() No current object on stack.", kNul)},
  };
  for (const auto& c : cases) {
    std::string err;
    EXPECT_EQ(drive(c.script, c.whiteSpace, err), c.text) << c.script;
    EXPECT_EQ(err, c.err) << c.script;
  }
}

TEST(JsomStringWriter, IndentStopsGrowingAndCarriesNulFrom47Levels) {
  std::string text;
  JsomStringWriter w(text);
  w._whiteSpace = true;
  for (int i = 0; i < 49; i++) w.startArray();
  // The 49th array sits on a stack of 47 enclosing levels, the 48th on 46.
  const std::string indent46 = "\n" + std::string(47, ' '), indent47 = indent46 + kNul;
  text.clear();
  w.appendInt(7);
  w.endArray();  // pops to the 48th array: 47 levels below it
  w.endArray();  // pops to the 47th: 46 levels below
  EXPECT_EQ(text, indent47 + "7" + indent47 + "]" + indent46 + "]");
}

TEST(JsomStringWriter, StringsEscapeSevenBytesOnly) {
  std::string text;
  JsomStringWriter w(text);
  w.startArray();
  const std::string raw = std::string("q\"b\\/\b\f\n\r\t\x01\xc3\xa9", 13) + kNul + "end";
  w.appendString(raw, false);
  w.appendString(raw, true);
  w.appendString(nullptr, 0, false);
  w.endArray();
  EXPECT_EQ(text,
            "[\"q\\\"b\\\\/\\b\\f\\n\\r\\t\x01\xc3\xa9" + kNul + "end\",\"" + raw + "\",null]");
}

TEST(JsomStringWriter, DoubleFormats) {
  const struct {
    double value;
    int precision;
    const char* text;
  } cases[] = {{1.5, 9, "1.5"},
               {2.0, 9, "2"},
               {0.1, 9, "0.1"},
               {0.0000000001, 9, "0"},
               {-0.0000000001, 9, "-0"},
               {100.0, 9, "100"},
               {1e16, 9, "10000000000000000"},
               {1.5e16, 9, "1.500000e+16"},
               {-2e16, 9, "-2.000000e+16"},
               {1000005.5, 9, "1000005.5"},
               {2.5, 0, "2.500000"},
               {2.0, 1, "2"},
               {1.25, 1, "1.2"}};
  for (const auto& c : cases) {
    std::string text;
    JsomStringWriter(text).appendDouble(c.value, c.precision);
    EXPECT_EQ(text, c.text) << c.value << " at " << c.precision;
  }
}
