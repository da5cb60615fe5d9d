// The value tree: accessors, mutators and printers of JSONData.
#include "JSONData.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace loomstat {

namespace {

// A newline followed by 50 spaces: the pretty printer's indents are prefixes
// of it, one space per level.
const char indentBuffer[52] = "\n                                                  ";

void appendIndent(std::string& out, int count) {
  if (count > 0) out.append(indentBuffer, static_cast<size_t>(count));
}

// Saturating conversion, so that infinities, NaN and out-of-range doubles
// give a defined result instead of undefined behaviour.
int64_t truncateToLong(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 9223372036854775808.0) return INT64_MAX;
  if (value < -9223372036854775808.0) return INT64_MIN;
  return static_cast<int64_t>(value);
}

}  // namespace

JSONData::JSONData(uint16_t refCount) : _type(TYPE_UNSET), _refCount(refCount) {
  _value.integer = 0;
}

void JSONData::release(JSONData* node) {
  if (node == nullptr) return;
  if (--node->_refCount == 0) {
    node->reset();
    delete node;
  }
}

// ---- Reading ----

int JSONData::length() const {
  if (_type == TYPE_OBJECT) return static_cast<int>(_value.object->size());
  if (_type == TYPE_ARRAY) return static_cast<int>(_value.array->size());
  return 0;
}

JSONData* JSONData::getByIndex(int index) const {
  if (index < 0 || index >= length()) return nullptr;
  if (_type == TYPE_ARRAY) return (*_value.array)[index];
  return (*_value.object)[index]->value;
}

JSONData* JSONData::getByKey(const std::string& key) const {
  if (_type != TYPE_OBJECT) return nullptr;
  const std::vector<entry*>& entries = *_value.object;
  for (size_t i = entries.size(); i-- > 0;) {
    if (entries[i]->key == key) return entries[i]->value;
  }
  return nullptr;
}

JSONData* JSONData::getByKey(const char* key) const {
  if (_type != TYPE_OBJECT || key == nullptr) return nullptr;
  const size_t keyLength = std::strlen(key);
  const std::vector<entry*>& entries = *_value.object;
  for (size_t i = entries.size(); i-- > 0;) {
    const std::string& candidate = entries[i]->key;
    if (candidate.size() == keyLength && std::memcmp(candidate.data(), key, keyLength) == 0) {
      return entries[i]->value;
    }
  }
  return nullptr;
}

const std::string* JSONData::getKeyAtIndex(int index) const {
  if (_type != TYPE_OBJECT || index < 0 || index >= length()) return nullptr;
  return &(*_value.object)[index]->key;
}

bool JSONData::booleanValue() const {
  // Deliberately untyped: the first byte of the value, whatever it holds.
  unsigned char first;
  std::memcpy(&first, &_value, 1);
  return first != 0;
}

int64_t JSONData::longValue() const {
  switch (_type) {
    case TYPE_LONG: return _value.integer;
    case TYPE_DOUBLE: return truncateToLong(_value.real);
    case TYPE_BOOLEAN: return _value.boolean ? 1 : 0;
    default: return 0;
  }
}

double JSONData::doubleValue() const {
  switch (_type) {
    case TYPE_DOUBLE: return _value.real;
    case TYPE_LONG: return static_cast<double>(_value.integer);
    case TYPE_BOOLEAN: return _value.boolean ? 1.0 : 0.0;
    default: return 0.0;
  }
}

const std::string* JSONData::stringValue() const {
  return _type == TYPE_STRING ? _value.string : nullptr;
}

// ---- Writing ----

void JSONData::setType(int type) {
  if (type == _type) return;
  reset();
  _type = static_cast<uint16_t>(type);
  if (_type == TYPE_OBJECT) {
    _value.object = new std::vector<entry*>();
  } else if (_type == TYPE_ARRAY) {
    _value.array = new std::vector<JSONData*>();
  } else if (_type == TYPE_STRING) {
    _value.string = new std::string();
  }
}

void JSONData::setBoolean(bool value) {
  setType(TYPE_BOOLEAN);
  _value.boolean = value;
}

void JSONData::setLong(int64_t value) {
  setType(TYPE_LONG);
  _value.integer = value;
}

void JSONData::setDouble(double value) {
  setType(TYPE_DOUBLE);
  _value.real = value;
}

void JSONData::setString(const std::string& value) {
  setType(TYPE_STRING);
  *_value.string = value;
}

void JSONData::setString(const char* value) {
  setType(TYPE_STRING);
  if (value != nullptr) *_value.string = value;
}

void JSONData::reset() {
  switch (_type) {
    case TYPE_UNSET: return;
    case TYPE_ARRAY: {
      std::vector<JSONData*>* array = _value.array;
      for (size_t i = array->size(); i-- > 0;) release((*array)[i]);
      delete array;
      _value.integer = 0;  // no stale pointer bytes for booleanValue()
      break;
    }
    case TYPE_OBJECT: {
      std::vector<entry*>* object = _value.object;
      for (size_t i = object->size(); i-- > 0;) {
        release((*object)[i]->value);
        delete (*object)[i];
      }
      delete object;
      _value.integer = 0;
      break;
    }
    case TYPE_STRING:
      delete _value.string;
      _value.integer = 0;
      break;
    default: break;
  }
  _type = TYPE_UNSET;
}

void JSONData::clear() {
  if (_type == TYPE_ARRAY) {
    std::vector<JSONData*>& array = *_value.array;
    while (!array.empty()) {
      JSONData* last = array.back();
      array.pop_back();
      release(last);
    }
  } else if (_type == TYPE_OBJECT) {
    std::vector<entry*>& object = *_value.object;
    while (!object.empty()) {
      entry* last = object.back();
      object.pop_back();
      release(last->value);
      delete last;
    }
  }
}

void JSONData::erase(int index) {
  if (_type != TYPE_ARRAY && _type != TYPE_OBJECT) return;
  const int count = length();
  if (index == -1) index = count - 1;
  if (index < 0 || index >= count) return;
  if (_type == TYPE_ARRAY) {
    std::vector<JSONData*>& array = *_value.array;
    JSONData* member = array[index];
    array.erase(array.begin() + index);
    release(member);
  } else {
    std::vector<entry*>& object = *_value.object;
    entry* member = object[index];
    object.erase(object.begin() + index);
    release(member->value);
    delete member;
  }
}

void JSONData::erase(const std::string& key) {
  if (_type != TYPE_OBJECT) return;
  std::vector<entry*>& object = *_value.object;
  for (size_t i = object.size(); i-- > 0;) {
    if (object[i]->key == key) {
      entry* member = object[i];
      object.erase(object.begin() + static_cast<std::ptrdiff_t>(i));
      release(member->value);
      delete member;
      return;
    }
  }
}

void JSONData::erase(const char* key) {
  if (key == nullptr) return;
  erase(std::string(key));
}

void JSONData::setByKey(const std::string& key, JSONData* value) {
  if (_type != TYPE_OBJECT) {
    // The change of type frees the old content, which may hold the key or
    // the value: keep a copy of the key and take the reference first.
    const std::string ownKey(key);
    if (value != nullptr) value->addReference();
    setType(TYPE_OBJECT);
    if (value != nullptr) _value.object->push_back(new entry{ownKey, value});
    return;
  }
  if (value != nullptr) value->addReference();
  std::vector<entry*>& object = *_value.object;
  for (size_t i = object.size(); i-- > 0;) {
    if (object[i]->key == key) {
      entry* member = object[i];
      JSONData* old = member->value;
      if (value != nullptr) {
        member->value = value;
      } else {
        object.erase(object.begin() + static_cast<std::ptrdiff_t>(i));
        delete member;
      }
      release(old);
      return;
    }
  }
  if (value != nullptr) object.push_back(new entry{key, value});
}

void JSONData::setByKey(const char* key, JSONData* value) {
  // A null key names no member: nothing happens, and no reference is taken.
  if (key == nullptr) return;
  setByKey(std::string(key), value);
}

void JSONData::setByIndex(int index, JSONData* value) {
  if (value == nullptr) {
    // Removal assumes an array, as the caller is expected to know.
    if (_type == TYPE_ARRAY && index >= 0 && index < length()) erase(index);
    return;
  }
  // Referenced before any change of type, which may free a holder of value.
  value->addReference();
  if (_type != TYPE_ARRAY) setType(TYPE_ARRAY);
  std::vector<JSONData*>& array = *_value.array;
  const int count = static_cast<int>(array.size());
  if (index == count) {
    array.push_back(value);
    return;
  }
  if (index < 0 || index > count) {
    std::fprintf(stderr, "JSONData::%s: %s\n", "setByIndex()", "index out of range");
    release(value);
    return;
  }
  // Deliberate oddity of the in-range case, kept as the interface defines it:
  // the array becomes `index` copies of `value` and loses everything else.
  // Only the element that stood at `index` is released; the other old
  // elements are dropped WITHOUT being released, so they leak unless someone
  // else holds them. The reference taken above serves one copy (and with
  // index 0, where no copy remains, it is simply kept). Each further copy
  // takes a reference of its own, so that releasing the array later never
  // frees `value` more often than it was referenced.
  JSONData* old = array[index];
  array.assign(static_cast<size_t>(index), value);
  for (int copies = 1; copies < index; ++copies) value->addReference();
  release(old);
}

JSONData* JSONData::clone() const {
  JSONData* copyNode = new JSONData(0);
  copyNode->setType(_type);
  switch (_type) {
    case TYPE_BOOLEAN:
    case TYPE_LONG:
    case TYPE_DOUBLE: copyNode->_value = _value; break;
    case TYPE_STRING: *copyNode->_value.string = *_value.string; break;
    case TYPE_ARRAY:
      copyNode->_value.array->reserve(_value.array->size());
      for (const JSONData* member : *_value.array) {
        JSONData* child = member->clone();
        child->addReference();
        copyNode->_value.array->push_back(child);
      }
      break;
    case TYPE_OBJECT:
      copyNode->_value.object->reserve(_value.object->size());
      for (const entry* member : *_value.object) {
        JSONData* child = member->value->clone();
        child->addReference();
        copyNode->_value.object->push_back(new entry{member->key, child});
      }
      break;
    default: break;
  }
  return copyNode;
}

void JSONData::releaseMembersFromFront(size_t count) {
  if (_type == TYPE_ARRAY) {
    std::vector<JSONData*>& array = *_value.array;
    std::vector<JSONData*> dropped(array.begin(),
                                   array.begin() + static_cast<std::ptrdiff_t>(count));
    array.erase(array.begin(), array.begin() + static_cast<std::ptrdiff_t>(count));
    for (JSONData* member : dropped) release(member);
  } else if (_type == TYPE_OBJECT) {
    std::vector<entry*>& object = *_value.object;
    std::vector<entry*> dropped(object.begin(),
                                object.begin() + static_cast<std::ptrdiff_t>(count));
    object.erase(object.begin(), object.begin() + static_cast<std::ptrdiff_t>(count));
    for (entry* member : dropped) {
      release(member->value);
      delete member;
    }
  }
}

void JSONData::copy(const JSONData& source) {
  if (source._type != _type && (_type == TYPE_OBJECT || _type == TYPE_ARRAY)) {
    // The change of type would free this node's members, and the source may
    // be one of them: take a complete copy first, then move it in.
    JSONData* fresh = source.clone();
    reset();
    _type = fresh->_type;
    _value = fresh->_value;
    fresh->_type = TYPE_UNSET;
    delete fresh;
    return;
  }
  setType(source._type);
  switch (source._type) {
    case TYPE_BOOLEAN:
    case TYPE_LONG:
    case TYPE_DOUBLE: _value = source._value; break;
    case TYPE_STRING: *_value.string = *source._value.string; break;
    case TYPE_ARRAY: {
      // Clones are complete before anything old goes, so copying a node
      // onto itself, or onto its own ancestor, is safe.
      std::vector<JSONData*>& array = *_value.array;
      const size_t oldCount = array.size();
      const size_t sourceCount = source._value.array->size();
      for (size_t i = 0; i < sourceCount; ++i) {
        JSONData* child = (*source._value.array)[i]->clone();
        child->addReference();
        array.push_back(child);
      }
      releaseMembersFromFront(oldCount);
      break;
    }
    case TYPE_OBJECT: {
      std::vector<entry*>& object = *_value.object;
      const size_t oldCount = object.size();
      const size_t sourceCount = source._value.object->size();
      for (size_t i = 0; i < sourceCount; ++i) {
        const entry* member = (*source._value.object)[i];
        JSONData* child = member->value->clone();
        child->addReference();
        object.push_back(new entry{member->key, child});
      }
      releaseMembersFromFront(oldCount);
      break;
    }
    default: break;
  }
}

// ---- Printing ----

void JSONData::quoteJsonString(const std::string& text, std::string& out) {
  out.push_back('"');
  size_t runStart = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char* escape = nullptr;
    switch (text[i]) {
      case '\b': escape = "\\b"; break;
      case '\t': escape = "\\t"; break;
      case '\n': escape = "\\n"; break;
      case '\f': escape = "\\f"; break;
      case '\r': escape = "\\r"; break;
      case '"': escape = "\\\""; break;
      case '\\': escape = "\\\\"; break;
      default: continue;
    }
    out.append(text, runStart, i - runStart);
    out.append(escape, 2);
    runStart = i + 1;
  }
  out.append(text, runStart, std::string::npos);
  out.push_back('"');
}

void JSONData::appendStringValue(std::string& out, int precision) const {
  switch (_type) {
    case TYPE_LONG: {
      char buffer[32];
      const int length =
          std::snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(_value.integer));
      out.append(buffer, static_cast<size_t>(length));
      break;
    }
    case TYPE_DOUBLE: {
      char buffer[64];
      std::string large;
      const char* text = buffer;
      int length = std::snprintf(buffer, sizeof buffer, "%.*f", precision, _value.real);
      if (length < 0) break;
      if (static_cast<size_t>(length) >= sizeof buffer) {
        // Wide values (or high precisions) do not fit: format them whole.
        large.resize(static_cast<size_t>(length) + 1);
        std::snprintf(&large[0], large.size(), "%.*f", precision, _value.real);
        text = large.data();
      }
      // Drop trailing zeros, and then a trailing point. The trim runs over
      // any text longer than the precision allows for, so with precision 0
      // it also eats integer zeros: 120 becomes "12".
      if (static_cast<int64_t>(length) > static_cast<int64_t>(precision) + 1) {
        while (length > 0 && text[length - 1] == '0') --length;
        if (length > 0 && text[length - 1] == '.') --length;
      }
      out.append(text, static_cast<size_t>(length));
      break;
    }
    case TYPE_STRING: out.append(*_value.string); break;
    case TYPE_BOOLEAN: out.append(_value.boolean ? "true" : "false"); break;
    case TYPE_NULL: out.append("null"); break;
    default: break;
  }
}

void JSONData::appendJsonString(std::string& out, bool pretty, int precision, int depth) const {
  switch (_type) {
    case TYPE_NULL:
    case TYPE_BOOLEAN:
    case TYPE_LONG:
    case TYPE_DOUBLE: appendStringValue(out, precision); return;
    case TYPE_STRING: quoteJsonString(*_value.string, out); return;
    case TYPE_OBJECT:
    case TYPE_ARRAY: break;
    default: return;
  }
  // Member indent: a newline and depth + 1 spaces, at most 50 spaces.
  // Closing indent: a newline and depth spaces, at most 50.
  const int memberIndent = depth <= 48 ? depth + 2 : 51;
  const int closingIndent = (depth < 50 ? depth : 50) + 1;
  const bool isObject = _type == TYPE_OBJECT;
  out.push_back(isObject ? '{' : '[');
  const size_t count = isObject ? _value.object->size() : _value.array->size();
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) out.push_back(',');
    if (pretty) appendIndent(out, memberIndent);
    const JSONData* member;
    if (isObject) {
      const entry* e = (*_value.object)[i];
      quoteJsonString(e->key, out);
      out.push_back(':');
      if (pretty) out.push_back(' ');
      member = e->value;
    } else {
      member = (*_value.array)[i];
    }
    member->appendJsonString(out, pretty, precision, depth < INT_MAX ? depth + 1 : depth);
  }
  if (pretty) appendIndent(out, closingIndent);
  out.push_back(isObject ? '}' : ']');
}

void JSONData::toJsonString(std::string& out, bool pretty, int precision) const {
  out.clear();
  appendJsonString(out, pretty, precision, 0);
}

void JSONData::appendStream(std::ostream& stream) const {
  if (!stream.good()) return;
  std::string text;
  switch (_type) {
    case TYPE_NULL:
    case TYPE_BOOLEAN:
    case TYPE_LONG:
    case TYPE_DOUBLE:
      appendStringValue(text, static_cast<int>(stream.precision()));
      stream.write(text.data(), static_cast<std::streamsize>(text.size()));
      return;
    case TYPE_STRING:
      quoteJsonString(*_value.string, text);
      stream.write(text.data(), static_cast<std::streamsize>(text.size()));
      return;
    case TYPE_OBJECT:
    case TYPE_ARRAY: break;
    default: return;
  }
  const bool isObject = _type == TYPE_OBJECT;
  stream.put(isObject ? '{' : '[');
  const size_t count = isObject ? _value.object->size() : _value.array->size();
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) stream.put(',');
    if (isObject) {
      const entry* e = (*_value.object)[i];
      text.clear();
      quoteJsonString(e->key, text);
      text.push_back(':');
      stream.write(text.data(), static_cast<std::streamsize>(text.size()));
      e->value->appendStream(stream);
    } else {
      (*_value.array)[i]->appendStream(stream);
    }
    if (!stream.good()) break;
  }
  stream.put(isObject ? '}' : ']');
}

}  // namespace loomstat
