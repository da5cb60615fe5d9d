// One node of a JSON value tree, shared by reference count, with its text
// parser (over a C string cursor and over a stream) and its printers.
#ifndef LOOMSTAT_JSONDATA_H
#define LOOMSTAT_JSONDATA_H

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace loomstat {

struct JSONData {
  // Type codes held in _type.
  enum : uint16_t {
    TYPE_UNSET = 0,
    TYPE_NULL = 1,
    TYPE_BOOLEAN = 2,
    TYPE_OBJECT = 3,
    TYPE_ARRAY = 4,
    TYPE_STRING = 5,
    TYPE_LONG = 6,
    TYPE_DOUBLE = 7,
  };

  // One member of an object: owns its key and one reference on its value.
  struct entry {
    std::string key;
    JSONData* value;
  };

  // Deepest nesting of values the parser accepts; the root is level 1. A
  // value deeper down fails as a missing value ("syntax error: missing
  // value", the enclosing levels failing silently), so that hostile input
  // cannot exhaust the stack. Real configuration files nest a few levels.
  static const int kMaxParseDepth = 10000;

  uint16_t _type;
  uint16_t _refCount;  // wraps silently; nothing guards it
  union Value {
    bool boolean;
    std::vector<entry*>* object;
    std::vector<JSONData*>* array;
    std::string* string;
    int64_t integer;
    double real;
  } _value;

  // A node is born unset. Whoever allocates it chooses its first count.
  JSONData() : JSONData(0) {}
  explicit JSONData(uint16_t refCount);
  ~JSONData() { reset(); }
  JSONData(const JSONData&) = delete;
  JSONData& operator=(const JSONData&) = delete;

  // Reference counting. release() frees the node when its count reaches 0.
  void addReference() { ++_refCount; }
  static void release(JSONData* node);

  // Reading.
  int length() const;
  JSONData* getByIndex(int index) const;
  JSONData* getByKey(const std::string& key) const;
  JSONData* getByKey(const char* key) const;
  const std::string* getKeyAtIndex(int index) const;
  bool booleanValue() const;
  int64_t longValue() const;
  double doubleValue() const;
  const std::string* stringValue() const;

  // Writing.
  void setType(int type);
  void setArray() { setType(TYPE_ARRAY); }
  void setObject() { setType(TYPE_OBJECT); }
  void setNull() { setType(TYPE_NULL); }
  void setBoolean(bool value);
  void setLong(int64_t value);
  void setDouble(double value);
  void setString(const std::string& value);
  void setString(const char* value);
  void reset();
  void clear();
  void erase(int index);
  void erase(const char* key);
  void erase(const std::string& key);
  void setByKey(const std::string& key, JSONData* value);
  void setByKey(const char* key, JSONData* value);
  void setByIndex(int index, JSONData* value);
  JSONData* clone() const;
  void copy(const JSONData& source);

  // Printing.
  static void quoteJsonString(const std::string& text, std::string& out);
  void appendStringValue(std::string& out, int precision) const;
  void appendJsonString(std::string& out, bool pretty, int precision, int depth) const;
  void toJsonString(std::string& out, bool pretty, int precision) const;
  void appendStream(std::ostream& stream) const;

  // Parsing. Each returns whether it succeeded; syntax errors are reported
  // on standard error and the tree keeps what was completed.
  bool setFromJsonString(const char*& cursor);
  bool setFromStream(std::istream& stream);
  bool setFromJsonStlString(const std::string& text);
  static bool fetchNextType(const char*& cursor, uint16_t& type, bool& comma, bool& colon,
                            bool& end);
  static bool fetchNextType(std::istream& stream, uint16_t& type, bool& comma, bool& colon,
                            bool& end);
  static bool parseJsonString(const char*& cursor, std::string& out);
  static bool parseJsonString(std::istream& stream, std::string& out);
  bool parseJsonNumberIntoSelf(const char*& cursor);
  bool parseJsonNumberIntoSelf(std::istream& stream);

 private:
  void releaseMembersFromFront(size_t count);
  // The grammar, over an input adaptor for the cursor or for the stream.
  template <class Input>
  static bool nextType(Input& in, uint16_t& type, bool& comma, bool& colon, bool& end);
  template <class Input>
  static bool readString(Input& in, std::string& out);
  template <class Input>
  bool readNumber(Input& in);
  template <class Input>
  bool parseValue(Input& in, int depth);
};

}  // namespace loomstat

#endif  // LOOMSTAT_JSONDATA_H
