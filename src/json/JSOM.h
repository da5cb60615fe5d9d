// A handle on a JSON value tree: a node, or the place in a container where a
// node could be. Lookups return handles by value, so that doc["a"][0] chains;
// writing through a handle to a missing member creates that member.
//
// Nothing throws. Failures print "JSOM::<operation>: <message>" on standard
// error and continue as an invalid handle, which answers every accessor with
// its default.
#ifndef LOOMSTAT_JSOM_H
#define LOOMSTAT_JSOM_H

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

#include "JSONData.h"

namespace loomstat {

class JSOM {
 public:
  // What a handle refers to (_kind).
  enum Kind {
    KIND_BLANK = 0,       // nothing yet
    KIND_NODE = 1,        // a node, referenced by the handle
    KIND_CHAR_KEY = 2,    // a missing member of _parent, named by a C string
    KIND_STRING_KEY = 3,  // a missing member of _parent, named by a std::string
    KIND_INDEX = 4,       // a missing element of _parent
    KIND_INVALID = 5,     // the result of a failure; never changes
  };

  static JSOM JERROR;       // invalid handle returned by failures
  static const JSOM BLANK;  // a handle on nothing
  static const std::string EMPTY_STRING;
  static int defaultPrecision;  // decimals when numbers become strings

  JSOM();
  explicit JSOM(JSONData* node);
  JSOM(JSONData* node, JSONData* parent);
  JSOM(JSONData* parent, int index);
  // The key is the caller's and is not copied: it must outlive the handle.
  JSOM(JSONData* parent, const char* key);
  JSOM(JSONData* parent, const std::string& key);
  JSOM(const JSOM& other);
  ~JSOM();

  // Deep assignment into this handle's node, not rebinding.
  JSOM& operator=(const JSOM& source);

  // Lookups. A lookup through a handle without a node first creates it (as an
  // object for keys, an array for indexes). Index -1 is the place after the
  // last element.
  JSOM at(const std::string& key);
  JSOM at(const char* key);
  JSOM at(int index);
  JSOM operator[](const std::string& key);
  JSOM operator[](const char* key);
  JSOM operator[](int index);

  // Value accessors. Converting a string to a number or boolean, or a number
  // or boolean to a string, also converts the node itself.
  int64_t longValue(int64_t defaultValue) const;
  bool booleanValue(bool defaultValue) const;
  double doubleValue(double defaultValue) const;
  const std::string& stringValue(const std::string& defaultValue) const;
  const char* stringValuePtr(const char* defaultValue) const;

  // Setters create the node if needed. A null string makes the node null.
  JSOM& setString(const std::string& value);
  JSOM& setString(const char* value);
  JSOM& setDouble(double value);
  JSOM& setBoolean(bool value);
  JSOM& setLong(int64_t value);

  int size() const;
  const std::string* key(int index) const;
  JSOM& clear();
  JSOM& erase(int index);
  JSOM& erase(const char* key);
  JSOM& erase(const std::string& key);
  JSOM& copy(const JSOM& source);

  bool isNull() const;
  bool isBoolean() const;
  bool isObject() const;
  bool isArray() const;
  bool isString() const;
  bool isNumber() const;
  // Whether the handle holds a node (a lookup that found something).
  bool isValid() const { return _kind == KIND_NODE; }
  explicit operator bool() const { return isValid(); }
  int kind() const { return _kind; }
  JSONData* data() const { return _kind == KIND_NODE ? _ref.node : nullptr; }
  JSONData* parent() const { return _parent; }

  std::string& toString(std::string& out, int precision = defaultPrecision) const;
  std::string& toCompactString(std::string& out, int precision = defaultPrecision) const;
  JSOM& fromString(const std::string& text);
  JSOM& fromString(const char* text);
  JSOM& fromFile(const char* name);
  bool toFile(const char* name, int precision = defaultPrecision) const;
  std::istream& fromStream(std::istream& stream);
  std::ostream& toStream(std::ostream& stream);

  // Replaces ${NAME} in every string value of the tree by the environment
  // variable NAME, when it is set. Keys are left alone.
  void expandValues();

 private:
  struct InvalidTag {};
  constexpr explicit JSOM(InvalidTag) : _parent(nullptr), _kind(KIND_INVALID), _ref(-1) {}

  void makeInfoNode(const char* caller);
  bool ensureNode(const char* caller);
  bool ensureContainer(const char* caller, bool asObject);
  JSOM findKey(const std::string* key, const char* name, const char* infoName);
  JSOM findKey(const char* key, const char* name, const char* infoName);
  JSOM findIndex(int index, const char* name, const char* infoName);
  const std::string* convertToString() const;
  static void _expandValues(JSOM& node);
  static void _expandString(JSOM& node);

  union Ref {
    JSONData* node;
    const char* cKey;
    const std::string* key;
    int32_t index;
    constexpr Ref() : node(nullptr) {}
    constexpr explicit Ref(int32_t value) : index(value) {}
  };

  JSONData* _parent;
  int32_t _kind;
  Ref _ref;
};

}  // namespace loomstat

#endif  // LOOMSTAT_JSOM_H
