// Recursive-descent JSON parser of JSONData: one grammar over two inputs, a
// NUL-ended C string cursor and an input stream.
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

const int kEnd = -1;  // what an input's get() returns at its end

// The grammar reads a byte with get(), puts back one that it leaves for the
// caller with unget(), and with refuse() one that fails the parse.

// A NUL-ended text: the NUL is the end and is never stepped over. A refused
// byte stays under the cursor; a keyword is taken only when it matches.
struct CursorInput {
  const char*& at;
  static constexpr const char* kName = "setFromJsonString()";
  int get() { return *at == '\0' ? kEnd : static_cast<unsigned char>(*at++); }
  void unget(int c) {
    if (c != kEnd) --at;
  }
  void refuse(int c) { unget(c); }
  int peek() const { return *at; }
  bool atEnd() const { return *at == '\0'; }
  bool take(const char* keyword, size_t length) {
    if (std::strncmp(at, keyword, length) != 0) return false;
    at += length;
    return true;
  }
};

// A stream: the end is any state other than good after a read, and a NUL is
// a byte like any other. A refused byte and the bytes of a keyword, matched
// or not, are gone.
struct StreamInput {
  std::istream& stream;
  static constexpr const char* kName = "setFromStream()";
  int get() {
    const int c = stream.get();
    return stream.good() ? c : kEnd;
  }
  void unget(int c) {
    if (c != kEnd) stream.unget();
  }
  void refuse(int) {}
  int peek() { return stream.peek(); }
  bool atEnd() const { return stream.eof(); }
  bool take(const char* keyword, size_t length) {
    char read[5];
    stream.read(read, static_cast<std::streamsize>(length));
    return stream.gcount() == static_cast<std::streamsize>(length) &&
           std::memcmp(read, keyword, length) == 0;
  }
};

}  // namespace

bool JSONData::fetchNextType(const char*& cursor, uint16_t& type, bool& comma, bool& colon,
                             bool& end) {
  CursorInput in{cursor};
  return nextType(in, type, comma, colon, end);
}

bool JSONData::fetchNextType(std::istream& stream, uint16_t& type, bool& comma, bool& colon,
                             bool& end) {
  StreamInput in{stream};
  return nextType(in, type, comma, colon, end);
}

bool JSONData::parseJsonString(const char*& cursor, std::string& out) {
  CursorInput in{cursor};
  return readString(in, out);
}

bool JSONData::parseJsonString(std::istream& stream, std::string& out) {
  StreamInput in{stream};
  return readString(in, out);
}

bool JSONData::parseJsonNumberIntoSelf(const char*& cursor) {
  CursorInput in{cursor};
  return readNumber(in);
}

bool JSONData::parseJsonNumberIntoSelf(std::istream& stream) {
  StreamInput in{stream};
  return readNumber(in);
}

bool JSONData::setFromJsonString(const char*& cursor) {
  if (cursor == nullptr) return false;
  CursorInput in{cursor};
  return parseValue(in, 1);
}

bool JSONData::setFromStream(std::istream& stream) {
  StreamInput in{stream};
  return parseValue(in, 1);
}

bool JSONData::setFromJsonStlString(const std::string& text) {
  const char* cursor = text.c_str();
  return setFromJsonString(cursor);
}

// Leaves the token found for the caller to consume.
template <class Input>
bool JSONData::nextType(Input& in, uint16_t& type, bool& comma, bool& colon, bool& end) {
  comma = colon = end = false;
  for (;;) {
    int c = in.get();
    switch (c) {
      case '\t':
      case '\n':
      case '\r':
      case ' ': continue;
      case '/':
        c = in.get();
        if (c == '/') {
          do {
            c = in.get();
            if (c == kEnd) return false;
          } while (c != '\n');
          continue;
        }
        if (c == '*') {
          int previous = 0;  // the search for "*/" starts after "/*", so "/*/" stays open
          for (;;) {
            c = in.get();
            if (c == kEnd) return false;
            if (previous == '*' && c == '/') break;
            previous = c;
          }
          continue;
        }
        in.unget(c);
        return false;
      case '"': type = TYPE_STRING; break;
      case '+':
      case '-':
      case '0':
      case '1':
      case '2':
      case '3':
      case '4':
      case '5':
      case '6':
      case '7':
      case '8':
      case '9': type = TYPE_LONG; break;
      case 't':
      case 'f': type = TYPE_BOOLEAN; break;
      case 'n': type = TYPE_NULL; break;
      case '{': type = TYPE_OBJECT; break;
      case '}':
        type = TYPE_OBJECT;
        end = true;
        break;
      case '[': type = TYPE_ARRAY; break;
      case ']':
        type = TYPE_ARRAY;
        end = true;
        break;
      case ',': comma = true; break;
      case ':': colon = true; break;
      default:  // also the end of the input
        in.unget(c);
        return false;
    }
    in.unget(c);
    return true;
  }
}

template <class Input>
bool JSONData::readString(Input& in, std::string& out) {
  out.clear();
  int c = in.get();
  if (c != '"') {
    in.refuse(c);
    return false;
  }
  for (;;) {
    c = in.get();
    if (c == kEnd) return false;
    if (c == '"') return true;
    if (c != '\\') {
      out.push_back(static_cast<char>(c));
      continue;
    }
    const int escaped = in.get();
    if (escaped == kEnd) return false;
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
          const int hex = in.get();
          digit = hexDigitValue(hex);
          if (digit < 0) {
            in.refuse(hex);
            return false;
          }
        }
        // Only the last two digits count: one byte, no UTF-8.
        out.push_back(static_cast<char>(digits[2] * 16 + digits[3]));
        break;
      }
      default:
        out.push_back('\\');
        out.push_back(static_cast<char>(escaped));
        break;
    }
  }
}

template <class Input>
bool JSONData::readNumber(Input& in) {
  bool negative = false;
  int c = in.get();
  if (c == '-') {
    negative = true;
    c = in.get();
  }
  if (!isDigit(c)) {
    in.unget(c);
    return false;
  }
  uint64_t integer = 0;
  while (isDigit(c)) {
    integer = integer * 10 + static_cast<uint64_t>(c - '0');
    c = in.get();
  }
  if (c != '.') {
    in.unget(c);
    setType(TYPE_LONG);
    _value.integer = asSigned(negative ? 0 - integer : integer);
    return true;
  }
  setType(TYPE_DOUBLE);
  double value = static_cast<double>(asSigned(integer));
  uint64_t divisor = 10;
  for (;;) {
    c = in.get();
    if (!isDigit(c)) {
      in.unget(c);
      break;
    }
    if (c != '0') value = addFraction(value, c - '0', divisor);
    divisor *= 10;
  }
  _value.real = negative ? negate(value) : value;
  return true;
}

template <class Input>
bool JSONData::parseValue(Input& in, int depth) {
  uint16_t type = TYPE_UNSET;
  bool comma, colon, end;
  if (!nextType(in, type, comma, colon, end) || comma || colon || end || depth > kMaxParseDepth) {
    if (!in.atEnd()) syntaxError(Input::kName, "syntax error: missing value");
    return false;
  }
  switch (type) {
    case TYPE_NULL:
    case TYPE_BOOLEAN: {
      const char* keyword = keywordFor(type, in.peek());
      const size_t length = std::strlen(keyword);
      if (!in.take(keyword, length)) {
        syntaxError(Input::kName, type == TYPE_NULL ? "syntax error: invalid null value"
                                                    : "syntax error: invalid boolean value");
        return false;
      }
      setType(type);
      if (type == TYPE_BOOLEAN) _value.boolean = length == 4;
      return true;
    }
    case TYPE_STRING:
      setType(TYPE_STRING);
      if (!readString(in, *_value.string)) {
        syntaxError(Input::kName, "syntax error: invalid string");
        return false;
      }
      return true;
    case TYPE_LONG:
      if (!readNumber(in)) {
        syntaxError(Input::kName, "syntax error: invalid number");
        return false;
      }
      return true;
    case TYPE_OBJECT:
      setType(TYPE_OBJECT);
      in.get();
      for (;;) {
        // `type` carries over from the previous token, since a comma stores
        // none: a stray comma is judged by what came before it.
        if (!nextType(in, type, comma, colon, end)) {
          syntaxError(Input::kName, "syntax error: object not closed");
          return false;
        }
        if (end) {
          if (type == TYPE_OBJECT) {
            in.get();
            return true;
          }
          syntaxError(Input::kName, "syntax error: object not closed");
          return false;
        }
        if (type != TYPE_STRING) {
          syntaxError(Input::kName, "syntax error: object key must be a string");
          return false;
        }
        entry* member = new entry{std::string(), nullptr};
        if (!readString(in, member->key)) {
          delete member;
          syntaxError(Input::kName, "syntax error: invalid string for object key");
          return false;
        }
        if (!nextType(in, type, comma, colon, end) || !colon) {
          delete member;
          syntaxError(Input::kName, "syntax error: object colon expected");
          return false;
        }
        in.get();
        member->value = new JSONData(1);
        if (!member->value->parseValue(in, depth + 1)) {
          release(member->value);
          delete member;
          return false;
        }
        if (!nextType(in, type, comma, colon, end) || !(comma || (end && type == TYPE_OBJECT))) {
          release(member->value);
          delete member;
          syntaxError(Input::kName, "syntax error: object comma or end expected");
          return false;
        }
        in.get();
        _value.object->push_back(member);
        if (end) return true;
      }
    case TYPE_ARRAY:
      setType(TYPE_ARRAY);
      in.get();
      for (;;) {
        if (!nextType(in, type, comma, colon, end)) {
          syntaxError(Input::kName, "syntax error: array not closed");
          return false;
        }
        if (end) {
          if (type == TYPE_ARRAY) {
            in.get();
            return true;
          }
          syntaxError(Input::kName, "syntax error: array not closed");
          return false;
        }
        JSONData* child = new JSONData(1);
        if (!child->parseValue(in, depth + 1)) {
          release(child);
          return false;
        }
        if (!nextType(in, type, comma, colon, end) || !(comma || (end && type == TYPE_ARRAY))) {
          release(child);
          syntaxError(Input::kName, "syntax error: array comma or end expected");
          return false;
        }
        in.get();
        _value.array->push_back(child);
        if (end) return true;
      }
    default: return false;
  }
}

}  // namespace loomstat
