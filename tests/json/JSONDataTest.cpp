#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>

#include "JSONData.h"
#include "JsonTestSupport.h"

using loomstat::JSONData;

namespace {

JSONData* longNode(int64_t value) {
  JSONData* node = new JSONData(1);
  node->setLong(value);
  return node;
}

// An array [1, 2, 3] of nodes that the test also holds, so that references
// can be counted; the tree holds one each.
struct ThreeElements {
  JSONData array;
  JSONData* member[3];
  ThreeElements() {
    for (int i = 0; i < 3; ++i) array.setByIndex(i, member[i] = longNode(i + 1));
  }
  ~ThreeElements() {
    for (JSONData* m : member) JSONData::release(m);
  }
};

}  // namespace

TEST(JSONDataTree, SetTypeBooleanValueAndSaturation) {
  JSONData node;
  node.setByKey("a", longNode(1));
  JSONData::release(node.getByKey("a"));  // leave the tree as the only holder
  node.setObject();                       // the same type keeps its content
  EXPECT_EQ(compact(node), "{\"a\":1}");
  node.setArray();
  EXPECT_EQ(compact(node), "[]");
  node.setString("kept");
  node.setString(static_cast<const char*>(nullptr));
  EXPECT_EQ(*node.stringValue(), "kept");
  node.setLong(5);
  node.setString(static_cast<const char*>(nullptr));
  EXPECT_EQ(*node.stringValue(), "");
  // booleanValue reads the first byte of the value, whatever it holds.
  node.setLong(256);
  EXPECT_FALSE(node.booleanValue());
  node.setLong(0x101);
  EXPECT_TRUE(node.booleanValue());
  // Out-of-range doubles saturate instead of being undefined.
  node.setDouble(1e300);
  EXPECT_EQ(node.longValue(), std::numeric_limits<int64_t>::max());
  node.setDouble(std::nan(""));
  EXPECT_EQ(node.longValue(), 0);
}

TEST(JSONDataTree, EraseByIndexAndKey) {
  JSONData node;
  node.setArray();
  node.erase(-1);
  for (int i = 0; i < 4; ++i) {
    node.setByIndex(i, longNode(i));
    JSONData::release(node.getByIndex(i));
  }
  node.erase(-1);
  node.erase(3);
  node.erase(-2);
  node.erase(0);
  EXPECT_EQ(compact(node), "[1,2]");
  node.reset();
  ASSERT_TRUE(node.setFromJsonStlString("{\"a\":1,\"b\":2,\"a\":3}"));
  node.erase("a");  // the last of the duplicates
  EXPECT_EQ(compact(node), "{\"a\":1,\"b\":2}");
  node.erase(static_cast<const char*>(nullptr));
  node.erase(std::string("missing"));
  node.erase(0);
  EXPECT_EQ(compact(node), "{\"b\":2}");
  EXPECT_EQ(*node.getKeyAtIndex(0), "b");
  EXPECT_EQ(node.getKeyAtIndex(1), nullptr);
  node.clear();
  EXPECT_EQ(compact(node), "{}");
}

TEST(JSONDataTree, SetByKeyReplacesDeletesAndConverts) {
  JSONData node;
  node.setLong(3);
  node.setByKey("gone", nullptr);  // a non-object becomes an empty object first
  EXPECT_EQ(compact(node), "{}");
  JSONData* first = longNode(1);
  JSONData* second = longNode(2);
  node.setByKey("k", first);
  EXPECT_EQ(first->_refCount, 2);
  node.setByKey(std::string("k"), second);
  EXPECT_EQ(first->_refCount, 1);
  EXPECT_EQ(node.getByKey("k"), second);
  node.setByKey("k", nullptr);
  EXPECT_EQ(node.length(), 0);
  EXPECT_EQ(second->_refCount, 1);
  JSONData::release(first);
  JSONData::release(second);
}

TEST(JSONDataTree, SetByIndexAppendsOnlyAtTheEnd) {
  ThreeElements t;
  JSONData* extra = longNode(9);
  EXPECT_EQ(
      stderrOf([&] {
        t.array.setByIndex(5, extra);
        t.array.setByIndex(-1, extra);
      }),
      "JSONData::setByIndex(): index out of range\nJSONData::setByIndex(): index out of range\n");
  EXPECT_EQ(extra->_refCount, 1);
  t.array.setByIndex(3, extra);
  EXPECT_EQ(compact(t.array), "[1,2,3,9]");
  t.array.setByIndex(1, nullptr);  // removal closes the gap
  EXPECT_EQ(compact(t.array), "[1,3,9]");
  EXPECT_EQ(t.member[1]->_refCount, 1);
  JSONData::release(extra);
}

// The in-range case: the array becomes `index` copies of the value, only the
// element at `index` is released, and the others are dropped unreleased.
TEST(JSONDataTree, SetByIndexInRangeFillsWithCopies) {
  JSONData* value = longNode(7);
  ThreeElements t;
  t.array.setByIndex(2, value);
  EXPECT_EQ(compact(t.array), "[7,7]");
  EXPECT_EQ(t.member[2]->_refCount, 1);  // released
  EXPECT_EQ(t.member[0]->_refCount, 2);  // dropped without release
  EXPECT_EQ(value->_refCount, 3);        // one per copy, so later releases stay sound
  JSONData::release(t.member[0]);        // the references the array leaked
  JSONData::release(t.member[1]);

  ThreeElements w;
  w.array.setByIndex(0, value);  // setting element 0 empties the array
  EXPECT_EQ(compact(w.array), "[]");
  EXPECT_EQ(value->_refCount, 4);  // the reference taken for the append stays
  JSONData::release(w.member[1]);
  JSONData::release(w.member[2]);
  value->_refCount = 3;  // drop the leaked one: the test and t's two copies remain
  JSONData::release(value);
}

TEST(JSONDataTree, CloneAndCopy) {
  JSONData source;
  ASSERT_TRUE(source.setFromJsonStlString("{\"a\":[1,2.5,\"s\",true,null],\"b\":{\"c\":{}}}"));
  JSONData* clone = source.clone();
  EXPECT_EQ(clone->_refCount, 0);
  EXPECT_EQ(clone->getByKey("a")->_refCount, 1);
  EXPECT_EQ(compact(*clone), compact(source));
  EXPECT_NE(clone->getByKey("a"), source.getByKey("a"));
  clone->addReference();
  JSONData::release(clone);

  JSONData target;
  target.setLong(4);
  target.copy(source);
  EXPECT_EQ(compact(target), compact(source));
  target.copy(target);
  EXPECT_EQ(compact(target), compact(source));
}

// Doubles drop trailing zeros and then the point, over any text longer than
// the precision allows for: with precision 0 integer zeros go too.
TEST(JSONDataPrint, ScalarsAndQuoting) {
  const struct {
    double value;
    int precision;
    const char* text;
  } cases[] = {{2.50, 4, "2.5"},
               {3.0, 4, "3"},
               {120, 0, "12"},
               {7, 0, "7"},
               {100, 2, "100"},
               {0.1, 9, "0.1"},
               {-0.00001, 4, "-0"},
               {1.23456, 2, "1.23"},
               {1e20, 2, "100000000000000000000"},
               {0x1p200, 4, "1606938044258990275541962092341162602522202993782792835301376"}};
  JSONData node;
  for (const auto& c : cases) {
    node.setDouble(c.value);
    std::string out = "<";
    node.appendStringValue(out, c.precision);
    EXPECT_EQ(out, std::string("<") + c.text) << c.value << " at " << c.precision;
  }
  std::string out;
  node.reset();
  node.appendStringValue(out, 4);  // unset: nothing
  node.setLong(std::numeric_limits<int64_t>::min());
  node.appendStringValue(out, 4);
  node.setString("raw\"");
  node.appendStringValue(out, 4);
  EXPECT_EQ(out, "-9223372036854775808raw\"");
  out.clear();
  JSONData::quoteJsonString(std::string("\b\t\n\f\r\"\\/\x01\xc3\xa9", 11), out);
  EXPECT_EQ(out, std::string("\"\\b\\t\\n\\f\\r\\\"\\\\/\x01\xc3\xa9\"", 20));
}

TEST(JSONDataPrint, PrettyAndCompactForms) {
  const std::string text = "{\"k\":[1,{\"x\":\"y\"},[]],\"e\":{}}";
  JSONData node;
  ASSERT_TRUE(node.setFromJsonStlString(text));
  std::string out = "junk";
  node.toJsonString(out, true, 4);
  EXPECT_EQ(out, "{\n \"k\": [\n  1,\n  {\n   \"x\": \"y\"\n  },\n  [\n  ]\n ],\n \"e\": {\n }\n}");
  node.toJsonString(out, false, 4);
  EXPECT_EQ(out, text);
  JSONData empty;
  empty.setObject();
  empty.toJsonString(out, true, 4);
  EXPECT_EQ(out, "{\n}");
  empty.reset();
  empty.toJsonString(out, true, 4);
  EXPECT_EQ(out, "");
  // The indent is capped at fifty spaces: member and closing indent by depth.
  ASSERT_TRUE(node.setFromJsonStlString("[1]"));
  for (auto [depth, member, closing] :
       {std::tuple{48, 49, 48}, {49, 50, 49}, {50, 50, 50}, {70, 50, 50}}) {
    out.clear();
    node.appendJsonString(out, true, 4, depth);
    EXPECT_EQ(out, "[\n" + std::string(member, ' ') + "1\n" + std::string(closing, ' ') + "]")
        << depth;
  }
}

TEST(JSONDataPrint, AppendStreamIsCompactWithTheStreamPrecision) {
  JSONData node;
  ASSERT_TRUE(node.setFromJsonStlString("{\"a\":[1.23456,\"q\\\"\",null],\"b\":false}"));
  std::ostringstream stream;
  stream.precision(2);
  node.appendStream(stream);
  EXPECT_EQ(stream.str(), "{\"a\":[1.23,\"q\\\"\",null],\"b\":false}");
  std::ostringstream bad;
  bad.setstate(std::ios::badbit);
  node.appendStream(bad);
  EXPECT_EQ(bad.str(), "");
}
