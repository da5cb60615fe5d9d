// The document handle: lookups, converting accessors, loading and saving,
// and the expansion of environment references in string values.
#include "JSOM.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace loomstat {

JSOM JSOM::JERROR(JSOM::InvalidTag{});
const JSOM JSOM::BLANK;
const std::string JSOM::EMPTY_STRING;
int JSOM::defaultPrecision = 4;

namespace {

void report(const char* operation, const char* message) {
  std::fprintf(stderr, "JSOM::%s: %s\n", operation, message);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Whether text is an optional '-' and at least one digit, and then, when
// allowFraction, optionally a point and more digits: nothing else.
bool isPlainNumber(const std::string& text, bool allowFraction) {
  size_t i = 0;
  if (i < text.size() && text[i] == '-') ++i;
  const size_t digitsStart = i;
  while (i < text.size() && isDigit(text[i])) ++i;
  if (i == digitsStart) return false;
  if (allowFraction && i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && isDigit(text[i])) ++i;
  }
  return i == text.size();
}

// Parses a text already checked by isPlainNumber with the arithmetic of the
// text parser: wrapping integer digits, fraction digit by digit.
void parsePlainNumber(const std::string& text, JSONData& into) {
  const char* cursor = text.c_str();
  into.parseJsonNumberIntoSelf(cursor);
}

}  // namespace

// ---- Construction and ownership ----

JSOM::JSOM() : _parent(nullptr), _kind(KIND_BLANK), _ref() {}

JSOM::JSOM(JSONData* node) : _parent(nullptr), _kind(KIND_NODE), _ref() {
  if (node == nullptr) {
    _kind = KIND_INVALID;
    _ref.index = -1;
  } else {
    _ref.node = node;
    node->addReference();
  }
}

JSOM::JSOM(JSONData* node, JSONData* parent) : JSOM(node) {
  _parent = parent;
  if (parent != nullptr) parent->addReference();
}

JSOM::JSOM(JSONData* parent, int index) : _parent(parent), _kind(KIND_INDEX), _ref(index) {
  if (parent != nullptr) parent->addReference();
}

JSOM::JSOM(JSONData* parent, const char* key) : _parent(parent), _kind(KIND_CHAR_KEY), _ref() {
  _ref.cKey = key;
  if (parent != nullptr) parent->addReference();
}

JSOM::JSOM(JSONData* parent, const std::string& key)
    : _parent(parent), _kind(KIND_STRING_KEY), _ref() {
  _ref.key = &key;
  if (parent != nullptr) parent->addReference();
}

JSOM::JSOM(const JSOM& other) : _parent(other._parent), _kind(other._kind), _ref(other._ref) {
  if (_parent != nullptr) _parent->addReference();
  if (_kind == KIND_NODE) _ref.node->addReference();
}

JSOM::~JSOM() {
  JSONData::release(_parent);
  _parent = nullptr;
  if (_kind == KIND_NODE) JSONData::release(_ref.node);
  _kind = KIND_BLANK;
}

JSOM& JSOM::operator=(const JSOM& source) {
  if (&source == this || source._kind != KIND_NODE || source._ref.node == nullptr) return *this;
  // The source's node stays referenced by the source for the whole copy,
  // even when it lies inside this handle's node.
  if (!ensureNode("operator[](int32_t)")) return JERROR;
  _ref.node->copy(*source._ref.node);
  return *this;
}

// Gives a handle without a node its node, entering it into the parent when
// the handle names a missing member. A blank handle becomes a new root.
void JSOM::makeInfoNode(const char* caller) {
  if (_kind == KIND_INVALID) {
    report(caller, _parent == nullptr ? "null reference error" : "internal error, no info");
    return;
  }
  JSONData* node = new JSONData(1);  // the handle's reference
  if (_parent != nullptr) {
    if (_kind == KIND_STRING_KEY) {
      _parent->setByKey(*_ref.key, node);
    } else if (_kind == KIND_CHAR_KEY) {
      _parent->setByKey(_ref.cKey, node);
    } else if (_kind == KIND_INDEX) {
      _parent->setByIndex(_ref.index, node);
    }
  }
  _ref.node = node;
  _kind = KIND_NODE;
}

bool JSOM::ensureNode(const char* caller) {
  if (_kind != KIND_NODE) makeInfoNode(caller);
  return _kind == KIND_NODE;
}

bool JSOM::ensureContainer(const char* caller, bool asObject) {
  if (_kind == KIND_NODE) return true;
  makeInfoNode(caller);
  if (_kind != KIND_NODE) return false;
  if (asObject) {
    _ref.node->setObject();
  } else {
    _ref.node->setArray();
  }
  return true;
}

// ---- Lookups ----

JSOM JSOM::findKey(const std::string* key, const char* name, const char* infoName) {
  if (key == nullptr) {
    report(name, "null key");
    return JERROR;
  }
  if (!ensureContainer(infoName, true)) return JERROR;
  JSONData* found = _ref.node->getByKey(*key);
  if (found != nullptr) return JSOM(found, _ref.node);
  return JSOM(_ref.node, *key);
}

JSOM JSOM::findKey(const char* key, const char* name, const char* infoName) {
  if (key == nullptr) {
    report(name, "null key pointer");
    return JERROR;
  }
  if (!ensureContainer(infoName, true)) return JERROR;
  JSONData* found = _ref.node->getByKey(key);
  if (found != nullptr) return JSOM(found, _ref.node);
  return JSOM(_ref.node, key);
}

JSOM JSOM::findIndex(int index, const char* name, const char* infoName) {
  if (!ensureContainer(infoName, false)) return JERROR;
  const int count = size();
  if (index == -1 || index == count) return JSOM(_ref.node, count);
  if (index < 0 || index > count) {
    report(name, "index out of bounds");
    return JERROR;
  }
  JSONData* found = _ref.node->getByIndex(index);
  if (found != nullptr) return JSOM(found, _ref.node);
  return JSOM(_ref.node, index);
}

// The string form of at() hands makeInfoNode the name of operator[]: the
// names in messages are part of the interface and kept as they are.
JSOM JSOM::at(const std::string& key) {
  return findKey(&key, "at(string &)", "operator[](string &)");
}
JSOM JSOM::at(const char* key) { return findKey(key, "at(char *)", "at(char *)"); }
JSOM JSOM::at(int index) { return findIndex(index, "at(int32_t)", "at(int32_t)"); }
JSOM JSOM::operator[](const std::string& key) {
  return findKey(&key, "operator[](string &)", "operator[](string &)");
}
JSOM JSOM::operator[](const char* key) {
  return findKey(key, "operator[](char *)", "operator[](char *)");
}
JSOM JSOM::operator[](int index) {
  return findIndex(index, "operator[](int32_t)", "operator[](int32_t)");
}

// ---- Value accessors ----

int64_t JSOM::longValue(int64_t defaultValue) const {
  if (_kind != KIND_NODE) return defaultValue;
  JSONData* node = _ref.node;
  switch (node->_type) {
    case JSONData::TYPE_LONG:
    case JSONData::TYPE_DOUBLE:
    case JSONData::TYPE_BOOLEAN: return node->longValue();
    case JSONData::TYPE_STRING: {
      if (!isPlainNumber(*node->_value.string, false)) return defaultValue;
      JSONData parsed;
      parsePlainNumber(*node->_value.string, parsed);
      node->setLong(parsed.longValue());
      return node->_value.integer;
    }
    default: return defaultValue;
  }
}

double JSOM::doubleValue(double defaultValue) const {
  if (_kind != KIND_NODE) return defaultValue;
  JSONData* node = _ref.node;
  switch (node->_type) {
    case JSONData::TYPE_LONG:
    case JSONData::TYPE_DOUBLE:
    case JSONData::TYPE_BOOLEAN: return node->doubleValue();
    case JSONData::TYPE_STRING: {
      if (!isPlainNumber(*node->_value.string, true)) return defaultValue;
      JSONData parsed;
      parsePlainNumber(*node->_value.string, parsed);
      node->setDouble(parsed.doubleValue());
      return node->_value.real;
    }
    default: return defaultValue;
  }
}

bool JSOM::booleanValue(bool defaultValue) const {
  if (_kind != KIND_NODE) return defaultValue;
  JSONData* node = _ref.node;
  switch (node->_type) {
    case JSONData::TYPE_BOOLEAN: return node->_value.boolean;
    case JSONData::TYPE_LONG:
    case JSONData::TYPE_DOUBLE: return node->longValue() != 0;
    case JSONData::TYPE_STRING: break;
    default: return defaultValue;
  }
  // Recognised words, by length; each byte is compared with 0x20 set, which
  // folds letters to lower case. "false" and "no" are not among them.
  std::string folded = *node->_value.string;
  for (char& c : folded) c = static_cast<char>(c | 0x20);
  int verdict = -1;  // -1: not recognised
  switch (folded.size()) {
    case 1:
      if (folded == "t" || folded == "y" || folded == "1") verdict = 1;
      if (folded == "f" || folded == "n" || folded == "0") verdict = 0;
      break;
    case 2:
      if (folded == "on") verdict = 1;
      break;
    case 3:
      if (folded == "yes") verdict = 1;
      if (folded == "off") verdict = 0;
      break;
    case 4:
      if (folded == "true") verdict = 1;
      break;
    default: break;
  }
  if (verdict < 0) return defaultValue;
  node->setBoolean(verdict == 1);
  return verdict == 1;
}

// The node's string, after turning a boolean or number node into its text;
// null for the other types.
const std::string* JSOM::convertToString() const {
  if (_kind != KIND_NODE) return nullptr;
  JSONData* node = _ref.node;
  switch (node->_type) {
    case JSONData::TYPE_STRING: break;
    case JSONData::TYPE_BOOLEAN: node->setString(node->_value.boolean ? "true" : "false"); break;
    case JSONData::TYPE_LONG:
    case JSONData::TYPE_DOUBLE: {
      std::string text;
      node->appendStringValue(text, defaultPrecision);
      node->setString(text);
      break;
    }
    default: return nullptr;
  }
  return node->_value.string;
}

const std::string& JSOM::stringValue(const std::string& defaultValue) const {
  const std::string* text = convertToString();
  return text != nullptr ? *text : defaultValue;
}

const char* JSOM::stringValuePtr(const char* defaultValue) const {
  const std::string* text = convertToString();
  return text != nullptr ? text->c_str() : defaultValue;
}

// ---- Setters ----

JSOM& JSOM::setString(const std::string& value) {
  if (ensureNode("setString(string &)")) _ref.node->setString(value);
  return *this;
}

JSOM& JSOM::setString(const char* value) {
  if (ensureNode("setString(char *)")) {
    if (value == nullptr) {
      _ref.node->setNull();
    } else {
      _ref.node->setString(value);
    }
  }
  return *this;
}

JSOM& JSOM::setDouble(double value) {
  if (ensureNode("setDouble()")) _ref.node->setDouble(value);
  return *this;
}

JSOM& JSOM::setBoolean(bool value) {
  if (ensureNode("setBoolean()")) _ref.node->setBoolean(value);
  return *this;
}

JSOM& JSOM::setLong(int64_t value) {
  if (ensureNode("setLong()")) _ref.node->setLong(value);
  return *this;
}

// ---- Other operations ----

int JSOM::size() const { return _kind == KIND_NODE ? _ref.node->length() : 0; }

const std::string* JSOM::key(int index) const {
  return _kind == KIND_NODE ? _ref.node->getKeyAtIndex(index) : nullptr;
}

JSOM& JSOM::clear() {
  if (_kind == KIND_NODE) _ref.node->clear();
  return *this;
}

JSOM& JSOM::erase(int index) {
  if (_kind == KIND_NODE) _ref.node->erase(index);
  return *this;
}

JSOM& JSOM::erase(const char* key) {
  if (_kind == KIND_NODE) _ref.node->erase(key);
  return *this;
}

JSOM& JSOM::erase(const std::string& key) {
  if (_kind == KIND_NODE) _ref.node->erase(key);
  return *this;
}

JSOM& JSOM::copy(const JSOM& source) {
  if (!ensureNode("copy()")) return *this;
  if (source._kind == KIND_NODE) {
    _ref.node->copy(*source._ref.node);
  } else {
    _ref.node->setBoolean(false);
  }
  return *this;
}

bool JSOM::isNull() const { return _kind == KIND_NODE && _ref.node->_type == JSONData::TYPE_NULL; }
bool JSOM::isBoolean() const {
  return _kind == KIND_NODE && _ref.node->_type == JSONData::TYPE_BOOLEAN;
}
bool JSOM::isObject() const {
  return _kind == KIND_NODE && _ref.node->_type == JSONData::TYPE_OBJECT;
}
bool JSOM::isArray() const {
  return _kind == KIND_NODE && _ref.node->_type == JSONData::TYPE_ARRAY;
}
bool JSOM::isString() const {
  return _kind == KIND_NODE && _ref.node->_type == JSONData::TYPE_STRING;
}
bool JSOM::isNumber() const {
  return _kind == KIND_NODE &&
         (_ref.node->_type == JSONData::TYPE_LONG || _ref.node->_type == JSONData::TYPE_DOUBLE);
}

std::string& JSOM::toString(std::string& out, int precision) const {
  if (_kind == KIND_NODE) _ref.node->appendJsonString(out, true, precision, 0);
  return out;
}

std::string& JSOM::toCompactString(std::string& out, int precision) const {
  if (_kind == KIND_NODE) _ref.node->appendJsonString(out, false, precision, 0);
  return out;
}

// ---- Loading and saving ----

JSOM& JSOM::fromString(const std::string& text) {
  if (!ensureNode("fromString()")) return JERROR;
  if (!_ref.node->setFromJsonStlString(text)) return JERROR;
  return *this;
}

JSOM& JSOM::fromString(const char* text) {
  if (!ensureNode("fromString()")) return JERROR;
  if (text == nullptr) return JERROR;
  const char* cursor = text;
  if (!_ref.node->setFromJsonString(cursor)) return JERROR;
  return *this;
}

JSOM& JSOM::fromFile(const char* name) {
  static const char kName[] = "fromFile()";
  std::FILE* file = name != nullptr ? std::fopen(name, "rb") : nullptr;
  if (file == nullptr) {
    report(kName, "could not open file");
    return JERROR;
  }
  long size = -1;
  if (std::fseek(file, 0, SEEK_END) == 0) size = std::ftell(file);
  std::fseek(file, 0, SEEK_SET);
  // Sizes are those of a 32-bit long: what cannot be held there plus one
  // (and a failed size query) counts as an allocation failure.
  char* buffer = nullptr;
  if (size >= 0 && size < INT32_MAX)
    buffer = static_cast<char*>(std::malloc(static_cast<size_t>(size) + 1));
  if (buffer == nullptr) {
    report(kName, "could not allocate memory");
    std::fclose(file);
    return JERROR;
  }
  // One item of the whole size: an empty file reads as no item.
  if (std::fread(buffer, static_cast<size_t>(size), 1, file) != 1) {
    report(kName, "could not read file");
    std::fclose(file);
    std::free(buffer);
    return JERROR;
  }
  std::fclose(file);
  buffer[size] = '\0';
  JSOM& result = fromString(static_cast<const char*>(buffer));
  std::free(buffer);
  return result;
}

bool JSOM::toFile(const char* name, int precision) const {
  std::FILE* file = name != nullptr ? std::fopen(name, "w") : nullptr;
  if (file == nullptr) {
    report("toFile()", "could not write file");
    return false;
  }
  std::string text;
  toString(text, precision);
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
  return true;
}

std::istream& JSOM::fromStream(std::istream& stream) {
  if (stream.rdstate() & std::ios::failbit) return stream;
  if (!ensureNode("fromStream()") || !_ref.node->setFromStream(stream))
    stream.setstate(std::ios::failbit);
  return stream;
}

std::ostream& JSOM::toStream(std::ostream& stream) {
  if (_kind == KIND_NODE) _ref.node->appendStream(stream);
  return stream;
}

// ---- Environment expansion ----

void JSOM::expandValues() { _expandValues(*this); }

void JSOM::_expandValues(JSOM& node) {
  if (node._kind != KIND_NODE) return;
  const uint16_t type = node._ref.node->_type;
  if (type == JSONData::TYPE_STRING) {
    _expandString(node);
    return;
  }
  if (type != JSONData::TYPE_OBJECT && type != JSONData::TYPE_ARRAY) return;
  for (int i = 0; i < node.size(); ++i) {
    JSOM child = node[i];
    if (child._kind != KIND_NODE) continue;
    const uint16_t childType = child._ref.node->_type;
    if (childType == JSONData::TYPE_OBJECT || childType == JSONData::TYPE_ARRAY) {
      _expandValues(child);
    } else if (childType == JSONData::TYPE_STRING) {
      _expandString(child);
    }
  }
}

// Only ${NAME} is recognised; names do not nest, substituted text is not
// scanned again, and a reference to an unset variable stays as written. The
// node is rewritten only when at least one variable was substituted.
void JSOM::_expandString(JSOM& node) {
  const char* text = node._ref.node->_value.string->c_str();
  std::string result;
  std::string name;
  bool inReference = false;
  bool changed = false;
  for (const char* p = text; *p != '\0'; ++p) {
    if (!inReference) {
      if (p[0] == '$' && p[1] == '{') {
        inReference = true;
        name.clear();
        ++p;
      } else {
        result.push_back(*p);
      }
    } else if (*p != '}') {
      name.push_back(*p);
    } else {
      inReference = false;
      const char* value = name.empty() ? nullptr : std::getenv(name.c_str());
      if (value != nullptr) {
        result.append(value);
        changed = true;
      } else {
        result.append("${").append(name).push_back('}');
      }
    }
  }
  if (!changed) return;
  if (inReference) result.append("${").append(name);
  node.setString(result);
}

}  // namespace loomstat
