// Recursive-descent JSON parser of JSONData, in two twins: over a NUL-ended
// C string cursor and over an input stream.
//
// The accepted language differs from strict JSON: comments (// and /* */)
// wherever white space may stand, trailing commas in objects and arrays,
// unknown escapes kept with their backslash, \u escapes reduced to one byte,
// and numbers without exponents whose integer digits wrap silently.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "JSONData.h"

namespace loomstat {

namespace {

const char kCursorName[] = "setFromJsonString()";
const char kStreamName[] = "setFromStream()";

void syntaxError(const char* operation, const char* message) {
  std::fprintf(stderr, "JSONData::%s: %s\n", operation, message);
}

bool isDigit(int c) { return c >= '0' && c <= '9'; }

// Value of a hexadecimal digit of a \u escape, or -1. Upper-case letters
// count five less than lower-case ones (the byte minus 0x3c), as the format
// has always read them.
int hexDigitValue(int c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 0x3c;
  return -1;
}

// Two's-complement view of a wrapped 64-bit accumulator.
int64_t asSigned(uint64_t bits) {
  return bits <= static_cast<uint64_t>(INT64_MAX) ? static_cast<int64_t>(bits)
                                                  : -static_cast<int64_t>(~bits) - 1;
}

// Adds digit / divisor to value, where the divisor is a wrapping power of ten
// read as signed. Past 10^63 the divisor wraps to exactly 0; IEEE division
// then gives infinity, written out here to keep the arithmetic defined.
double addFraction(double value, int digit, uint64_t divisor) {
  const int64_t signedDivisor = asSigned(divisor);
  if (signedDivisor == 0) return value + HUGE_VAL;
  return value + static_cast<double>(digit) / static_cast<double>(signedDivisor);
}

double negate(double value) { return -value; }  // flips the sign bit only

// The keyword that a type-1 or type-2 token must spell, from its first byte.
const char* keywordFor(uint16_t type, int first) {
  if (type == JSONData::TYPE_NULL) return "null";
  return first == 't' ? "true" : "false";
}

}  // namespace

// ---- Cursor twin ----

bool JSONData::fetchNextType(const char*& cursor, uint16_t& type, bool& comma, bool& colon, bool& end) {
  comma = colon = end = false;
  for (;;) {
    switch (*cursor) {
      case '\t':
      case '\n':
      case '\r':
      case ' ':
        ++cursor;
        continue;
      case '/':
        ++cursor;
        if (*cursor == '/') {
          ++cursor;
          while (*cursor != '\n') {
            if (*cursor == '\0') return false;
            ++cursor;
          }
          ++cursor;
          continue;
        }
        if (*cursor == '*') {
          ++cursor;  // the search for "*/" starts after "/*", so "/*/" stays open
          for (;;) {
            if (*cursor == '\0') return false;
            if (cursor[0] == '*' && cursor[1] == '/') break;
            ++cursor;
          }
          cursor += 2;
          continue;
        }
        return false;
      case '"': type = TYPE_STRING; return true;
      case '+': case '-':
      case '0': case '1': case '2': case '3': case '4':
      case '5': case '6': case '7': case '8': case '9':
        type = TYPE_LONG; return true;
      case 't': case 'f': type = TYPE_BOOLEAN; return true;
      case 'n': type = TYPE_NULL; return true;
      case '{': type = TYPE_OBJECT; return true;
      case '}': type = TYPE_OBJECT; end = true; return true;
      case '[': type = TYPE_ARRAY; return true;
      case ']': type = TYPE_ARRAY; end = true; return true;
      case ',': comma = true; return true;
      case ':': colon = true; return true;
      default: return false;  // also the end of the text
    }
  }
}

bool JSONData::parseJsonString(const char*& cursor, std::string& out) {
  out.clear();
  if (*cursor != '"') return false;
  ++cursor;
  for (;;) {
    const char c = *cursor;
    if (c == '\0') return false;
    ++cursor;
    if (c == '"') return true;
    if (c != '\\') {
      out.push_back(c);
      continue;
    }
    const char escaped = *cursor;
    if (escaped == '\0') return false;
    ++cursor;
    switch (escaped) {
      case 'n': out.push_back('\n'); break;
      case 't': out.push_back('\t'); break;
      case 'r': out.push_back('\r'); break;
      case 'b': out.push_back('\b'); break;
      case 'f': out.push_back('\f'); break;
      case '"': out.push_back('"'); break;
      case '\\': out.push_back('\\'); break;
      case '/': out.push_back('/'); break;
      case 'u': {
        int digits[4];
        for (int& digit : digits) {
          digit = hexDigitValue(static_cast<unsigned char>(*cursor));
          if (digit < 0) return false;  // a NUL is no digit: never read past it
          ++cursor;
        }
        // Only the last two digits count: one byte, no UTF-8.
        out.push_back(static_cast<char>(digits[2] * 16 + digits[3]));
        break;
      }
      default:
        out.push_back('\\');
        out.push_back(escaped);
        break;
    }
  }
}

bool JSONData::parseJsonNumberIntoSelf(const char*& cursor) {
  bool negative = false;
  if (*cursor == '-') {
    negative = true;
    ++cursor;
  }
  if (!isDigit(*cursor)) return false;
  uint64_t integer = 0;
  while (isDigit(*cursor)) integer = integer * 10 + static_cast<uint64_t>(*cursor++ - '0');
  if (*cursor != '.') {
    setType(TYPE_LONG);
    _value.integer = asSigned(negative ? 0 - integer : integer);
    return true;
  }
  setType(TYPE_DOUBLE);
  double value = static_cast<double>(asSigned(integer));
  ++cursor;
  uint64_t divisor = 10;
  while (isDigit(*cursor)) {
    const int digit = *cursor++ - '0';
    if (digit != 0) value = addFraction(value, digit, divisor);
    divisor *= 10;
  }
  _value.real = negative ? negate(value) : value;
  return true;
}

bool JSONData::setFromJsonString(const char*& cursor) {
  if (cursor == nullptr) return false;
  return parseValue(cursor, 1);
}

bool JSONData::setFromJsonStlString(const std::string& text) {
  const char* cursor = text.c_str();
  return setFromJsonString(cursor);
}

bool JSONData::parseValue(const char*& cursor, int depth) {
  uint16_t type = TYPE_UNSET;
  bool comma, colon, end;
  if (!fetchNextType(cursor, type, comma, colon, end) || comma || colon || end || depth > kMaxParseDepth) {
    if (*cursor != '\0') syntaxError(kCursorName, "syntax error: missing value");
    return false;
  }
  switch (type) {
    case TYPE_NULL:
    case TYPE_BOOLEAN: {
      const char* keyword = keywordFor(type, *cursor);
      const size_t length = std::strlen(keyword);
      if (std::strncmp(cursor, keyword, length) != 0) {
        syntaxError(kCursorName, type == TYPE_NULL ? "syntax error: invalid null value"
                                                    : "syntax error: invalid boolean value");
        return false;
      }
      setType(type);
      if (type == TYPE_BOOLEAN) _value.boolean = length == 4;
      cursor += length;
      return true;
    }
    case TYPE_STRING:
      setType(TYPE_STRING);
      if (!parseJsonString(cursor, *_value.string)) {
        syntaxError(kCursorName, "syntax error: invalid string");
        return false;
      }
      return true;
    case TYPE_LONG:
      if (!parseJsonNumberIntoSelf(cursor)) {
        syntaxError(kCursorName, "syntax error: invalid number");
        return false;
      }
      return true;
    case TYPE_OBJECT:
      setType(TYPE_OBJECT);
      ++cursor;
      for (;;) {
        // `type` carries over from the previous token, since a comma stores
        // none: a stray comma is judged by what came before it.
        if (!fetchNextType(cursor, type, comma, colon, end)) {
          syntaxError(kCursorName, "syntax error: object not closed");
          return false;
        }
        if (end) {
          if (type == TYPE_OBJECT) {
            ++cursor;
            return true;
          }
          syntaxError(kCursorName, "syntax error: object not closed");
          return false;
        }
        if (type != TYPE_STRING) {
          syntaxError(kCursorName, "syntax error: object key must be a string");
          return false;
        }
        entry* member = new entry{std::string(), nullptr};
        if (!parseJsonString(cursor, member->key)) {
          delete member;
          syntaxError(kCursorName, "syntax error: invalid string for object key");
          return false;
        }
        if (!fetchNextType(cursor, type, comma, colon, end) || !colon) {
          delete member;
          syntaxError(kCursorName, "syntax error: object colon expected");
          return false;
        }
        ++cursor;
        member->value = new JSONData(1);
        if (!member->value->parseValue(cursor, depth + 1)) {
          release(member->value);
          delete member;
          return false;
        }
        if (!fetchNextType(cursor, type, comma, colon, end) || !(comma || (end && type == TYPE_OBJECT))) {
          release(member->value);
          delete member;
          syntaxError(kCursorName, "syntax error: object comma or end expected");
          return false;
        }
        ++cursor;
        _value.object->push_back(member);
        if (end) return true;
      }
    case TYPE_ARRAY:
      setType(TYPE_ARRAY);
      ++cursor;
      for (;;) {
        if (!fetchNextType(cursor, type, comma, colon, end)) {
          syntaxError(kCursorName, "syntax error: array not closed");
          return false;
        }
        if (end) {
          if (type == TYPE_ARRAY) {
            ++cursor;
            return true;
          }
          syntaxError(kCursorName, "syntax error: array not closed");
          return false;
        }
        JSONData* child = new JSONData(1);
        if (!child->parseValue(cursor, depth + 1)) {
          release(child);
          return false;
        }
        if (!fetchNextType(cursor, type, comma, colon, end) || !(comma || (end && type == TYPE_ARRAY))) {
          release(child);
          syntaxError(kCursorName, "syntax error: array comma or end expected");
          return false;
        }
        ++cursor;
        _value.array->push_back(child);
        if (end) return true;
      }
    default:
      return false;
  }
}

// ---- Stream twin ----
//
// The end of input is any state other than good after a read. A token left
// for the caller is read and put back with unget().

bool JSONData::fetchNextType(std::istream& stream, uint16_t& type, bool& comma, bool& colon, bool& end) {
  comma = colon = end = false;
  for (;;) {
    int c = stream.get();
    if (!stream.good()) return false;
    switch (c) {
      case '\t':
      case '\n':
      case '\r':
      case ' ':
        continue;
      case '/':
        c = stream.get();
        if (!stream.good()) return false;
        if (c == '/') {
          do {
            c = stream.get();
            if (!stream.good()) return false;
          } while (c != '\n');
          continue;
        }
        if (c == '*') {
          int previous = 0;
          for (;;) {
            c = stream.get();
            if (!stream.good()) return false;
            if (previous == '*' && c == '/') break;
            previous = c;
          }
          continue;
        }
        stream.unget();
        return false;
      case '"': type = TYPE_STRING; break;
      case '+': case '-':
      case '0': case '1': case '2': case '3': case '4':
      case '5': case '6': case '7': case '8': case '9':
        type = TYPE_LONG; break;
      case 't': case 'f': type = TYPE_BOOLEAN; break;
      case 'n': type = TYPE_NULL; break;
      case '{': type = TYPE_OBJECT; break;
      case '}': type = TYPE_OBJECT; end = true; break;
      case '[': type = TYPE_ARRAY; break;
      case ']': type = TYPE_ARRAY; end = true; break;
      case ',': comma = true; break;
      case ':': colon = true; break;
      default:
        stream.unget();
        return false;
    }
    stream.unget();
    return true;
  }
}

bool JSONData::parseJsonString(std::istream& stream, std::string& out) {
  out.clear();
  int c = stream.get();
  if (!stream.good() || c != '"') return false;
  for (;;) {
    c = stream.get();
    if (!stream.good()) return false;
    if (c == '"') return true;
    if (c != '\\') {
      out.push_back(static_cast<char>(c));
      continue;
    }
    const int escaped = stream.get();
    if (!stream.good()) return false;
    switch (escaped) {
      case 'n': out.push_back('\n'); break;
      case 't': out.push_back('\t'); break;
      case 'r': out.push_back('\r'); break;
      case 'b': out.push_back('\b'); break;
      case 'f': out.push_back('\f'); break;
      case '"': out.push_back('"'); break;
      case '\\': out.push_back('\\'); break;
      case '/': out.push_back('/'); break;
      case 'u': {
        int digits[4];
        for (int& digit : digits) {
          const int hex = stream.get();
          if (!stream.good()) return false;
          digit = hexDigitValue(hex);
          if (digit < 0) return false;
        }
        out.push_back(static_cast<char>(digits[2] * 16 + digits[3]));
        break;
      }
      default:  // a NUL byte included: kept like any unknown escape
        out.push_back('\\');
        out.push_back(static_cast<char>(escaped));
        break;
    }
  }
}

bool JSONData::parseJsonNumberIntoSelf(std::istream& stream) {
  bool negative = false;
  int c = stream.get();
  if (stream.good() && c == '-') {
    negative = true;
    c = stream.get();
  }
  if (!stream.good()) return false;
  if (!isDigit(c)) {
    stream.unget();
    return false;
  }
  uint64_t integer = 0;
  while (stream.good() && isDigit(c)) {
    integer = integer * 10 + static_cast<uint64_t>(c - '0');
    c = stream.get();
  }
  if (!stream.good() || c != '.') {
    if (stream.good()) stream.unget();
    setType(TYPE_LONG);
    _value.integer = asSigned(negative ? 0 - integer : integer);
    return true;
  }
  setType(TYPE_DOUBLE);
  double value = static_cast<double>(asSigned(integer));
  uint64_t divisor = 10;
  for (;;) {
    c = stream.get();
    if (!stream.good()) break;
    if (!isDigit(c)) {
      stream.unget();
      break;
    }
    if (c != '0') value = addFraction(value, c - '0', divisor);
    divisor *= 10;
  }
  _value.real = negative ? negate(value) : value;
  return true;
}

bool JSONData::setFromStream(std::istream& stream) { return parseValue(stream, 1); }

bool JSONData::parseValue(std::istream& stream, int depth) {
  uint16_t type = TYPE_UNSET;
  bool comma, colon, end;
  if (!fetchNextType(stream, type, comma, colon, end) || comma || colon || end || depth > kMaxParseDepth) {
    if (!stream.eof()) syntaxError(kStreamName, "syntax error: missing value");
    return false;
  }
  switch (type) {
    case TYPE_NULL:
    case TYPE_BOOLEAN: {
      const char* keyword = keywordFor(type, stream.peek());
      const std::streamsize length = static_cast<std::streamsize>(std::strlen(keyword));
      char read[5];
      stream.read(read, length);  // the bytes read are gone, matched or not
      if (stream.gcount() != length || std::memcmp(read, keyword, static_cast<size_t>(length)) != 0) {
        syntaxError(kStreamName, type == TYPE_NULL ? "syntax error: invalid null value"
                                                    : "syntax error: invalid boolean value");
        return false;
      }
      setType(type);
      if (type == TYPE_BOOLEAN) _value.boolean = length == 4;
      return true;
    }
    case TYPE_STRING:
      setType(TYPE_STRING);
      if (!parseJsonString(stream, *_value.string)) {
        syntaxError(kStreamName, "syntax error: invalid string");
        return false;
      }
      return true;
    case TYPE_LONG:
      if (!parseJsonNumberIntoSelf(stream)) {
        syntaxError(kStreamName, "syntax error: invalid number");
        return false;
      }
      return true;
    case TYPE_OBJECT:
      setType(TYPE_OBJECT);
      stream.get();
      for (;;) {
        if (!fetchNextType(stream, type, comma, colon, end)) {
          syntaxError(kStreamName, "syntax error: object not closed");
          return false;
        }
        if (end) {
          if (type == TYPE_OBJECT) {
            stream.get();
            return true;
          }
          syntaxError(kStreamName, "syntax error: object not closed");
          return false;
        }
        if (type != TYPE_STRING) {
          syntaxError(kStreamName, "syntax error: object key must be a string");
          return false;
        }
        entry* member = new entry{std::string(), nullptr};
        if (!parseJsonString(stream, member->key)) {
          delete member;
          syntaxError(kStreamName, "syntax error: invalid string for object key");
          return false;
        }
        if (!fetchNextType(stream, type, comma, colon, end) || !colon) {
          delete member;
          syntaxError(kStreamName, "syntax error: object colon expected");
          return false;
        }
        stream.get();
        member->value = new JSONData(1);
        if (!member->value->parseValue(stream, depth + 1)) {
          release(member->value);
          delete member;
          return false;
        }
        if (!fetchNextType(stream, type, comma, colon, end) || !(comma || (end && type == TYPE_OBJECT))) {
          release(member->value);
          delete member;
          syntaxError(kStreamName, "syntax error: object comma or end expected");
          return false;
        }
        stream.get();
        _value.object->push_back(member);
        if (end) return true;
      }
    case TYPE_ARRAY:
      setType(TYPE_ARRAY);
      stream.get();
      for (;;) {
        if (!fetchNextType(stream, type, comma, colon, end)) {
          syntaxError(kStreamName, "syntax error: array not closed");
          return false;
        }
        if (end) {
          if (type == TYPE_ARRAY) {
            stream.get();
            return true;
          }
          syntaxError(kStreamName, "syntax error: array not closed");
          return false;
        }
        JSONData* child = new JSONData(1);
        if (!child->parseValue(stream, depth + 1)) {
          release(child);
          return false;
        }
        if (!fetchNextType(stream, type, comma, colon, end) || !(comma || (end && type == TYPE_ARRAY))) {
          release(child);
          syntaxError(kStreamName, "syntax error: array comma or end expected");
          return false;
        }
        stream.get();
        _value.array->push_back(child);
        if (end) return true;
      }
    default:
      return false;
  }
}

}  // namespace loomstat
