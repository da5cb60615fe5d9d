#include "JsomStringWriter.h"

#include "JsomNumberText.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace loomstat {

namespace {
// A newline, 47 spaces and the terminating NUL. Indents deeper than 46 levels
// take all 49 bytes, NUL included, so the indent stops growing there.
const char indentBuffer[49] = "\n                                               ";
static_assert(sizeof indentBuffer == 49, "indent constant is 49 bytes");
}  // namespace

JsomStringWriter::JsomStringWriter(std::string& out) : _whiteSpace(false), _out(out), _state(0) {}

void JsomStringWriter::pushState(char c) {
  if (_state != 0) _stack.push_back((char)_state);
  _state = c;
}

void JsomStringWriter::popState() {
  if (_stack.empty()) {
    _state = 0;
    return;
  }
  _state = (unsigned char)_stack.back();
  _stack.pop_back();
}

void JsomStringWriter::indent() {
  if (_state == 0) {
    _out.push_back('\n');
    return;
  }
  size_t n = _stack.size();
  if (n <= 46)
    _out.append(indentBuffer, n + 2);
  else
    _out.append(indentBuffer, sizeof indentBuffer);
}

void JsomStringWriter::complain(const std::string& message) {
  std::cerr << "ERROR: JsonWriter::" << message << (char)_state << std::endl;
}

bool JsomStringWriter::valuePrologue(const char* operation) {
  if (_state == '{' || _state == '}') {
    complain(std::string(operation) + "() Invalid sequence. state: ");
    return false;
  }
  if (_state == ':') popState();
  if (_state == '[')
    _state = ']';
  else if (_state == ']')
    _out.push_back(',');
  if (_whiteSpace && _state != 0) {
    if (_state == '{' || _state == '}')
      _out.push_back(' ');
    else
      indent();
  }
  return true;
}

void JsomStringWriter::startArray() {
  if (!valuePrologue("startArray")) return;
  _out.push_back('[');
  pushState('[');
}

void JsomStringWriter::startObject() {
  if (!valuePrologue("startObject")) return;
  _out.push_back('{');
  pushState('{');
}

void JsomStringWriter::closeContainer(char open, char filled, char closing, const char* message) {
  if (_state != open && _state != filled) {
    complain(message);
    return;
  }
  popState();
  if (_whiteSpace) indent();
  _out.push_back(closing);
}

void JsomStringWriter::endArray() {
  closeContainer('[', ']', ']', "endArray() No current array on stack. state: ");
}

void JsomStringWriter::endObject() {
  closeContainer('{', '}', '}', "endObject() No current object on stack. state: ");
}

void JsomStringWriter::appendLabel(const char* text, int length, bool raw) {
  if (_state != '{' && _state != '}') {
    complain("appendLabel() No current object on stack. state: ");
    return;
  }
  if (_state == '{')
    _state = '}';
  else
    _out.push_back(',');
  if (_whiteSpace) indent();
  quote(text, length, raw);
  _out.push_back(':');
  pushState(':');
}

void JsomStringWriter::appendLabel(const char* text, bool raw) {
  appendLabel(text, text != nullptr ? (int)strlen(text) : 0, raw);
}

// Integers are the bulk of the document; to_chars gives the digits printf
// would, without parsing a format each time.
template <typename T>
void JsomStringWriter::appendInteger(T value) {
  char buffer[24];
  std::to_chars_result result = std::to_chars(buffer, buffer + sizeof buffer, value);
  _out.append(buffer, (size_t)(result.ptr - buffer));
}

void JsomStringWriter::appendInt(int value) {
  if (valuePrologue("appendInt")) appendInteger(value);
}

void JsomStringWriter::appendUnsignedInt(unsigned int value) {
  if (valuePrologue("appendUnsignedInt")) appendInteger(value);
}

void JsomStringWriter::appendLong(long long value) {
  if (valuePrologue("appendLong")) appendInteger(value);
}

void JsomStringWriter::appendUnsignedLong(unsigned long long value) {
  if (valuePrologue("appendUnsignedLong")) appendInteger(value);
}

void JsomStringWriter::appendDouble(double value, int precision) {
  if (!valuePrologue("appendDouble")) return;
  char buffer[256];
  int length;
  if (value > 1e16 || value < -1e16) {
    length = JsomNumberText::exponent(buffer, sizeof buffer, value);
  } else if (precision != 0) {
    length = JsomNumberText::fixed(buffer, sizeof buffer, value, precision);
    if (length > precision + 1) {
      while (length > 0 && buffer[length - 1] == '0') length--;
      if (length > 0 && buffer[length - 1] == '.') length--;
    }
  } else {
    length = JsomNumberText::fixed(buffer, sizeof buffer, value, 6);
  }
  if (length > (int)sizeof buffer - 1) length = (int)sizeof buffer - 1;
  if (length > 0) _out.append(buffer, (size_t)length);
}

void JsomStringWriter::appendString(const std::string& text, bool raw) {
  appendString(text.data(), (int)text.size(), raw);
}

void JsomStringWriter::appendString(const char* text, int length, bool raw) {
  if (valuePrologue("appendString")) quote(text, length, raw);
}

void JsomStringWriter::appendBoolean(bool value) {
  if (valuePrologue("appendBoolean")) _out.append(value ? "true" : "false");
}

void JsomStringWriter::appendNull() {
  if (valuePrologue("appendNull")) _out.append("null");
}

void JsomStringWriter::appendJsonValue(const char* text, int length) {
  if (startJsonValue() && length > 0) _out.append(text, (size_t)length);
}

bool JsomStringWriter::startJsonValue() { return valuePrologue("appendJsonValue"); }

void JsomStringWriter::quote(const char* text, int length, bool raw) {
  if (text == nullptr) {
    _out.append("null");
    return;
  }
  _out.push_back('"');
  if (raw) {
    if (length > 0) _out.append(text, (size_t)length);
  } else {
    // Unescaped runs go out with one append each.
    int runStart = 0;
    for (int i = 0; i < length; i++) {
      char escaped;
      switch (text[i]) {
        case '\b': escaped = 'b'; break;
        case '\t': escaped = 't'; break;
        case '\n': escaped = 'n'; break;
        case '\f': escaped = 'f'; break;
        case '\r': escaped = 'r'; break;
        case '"': escaped = '"'; break;
        case '\\': escaped = '\\'; break;
        default: continue;
      }
      _out.append(text + runStart, (size_t)(i - runStart));
      _out.push_back('\\');
      _out.push_back(escaped);
      runStart = i + 1;
    }
    _out.append(text + runStart, (size_t)(length - runStart > 0 ? length - runStart : 0));
  }
  _out.push_back('"');
}

void JsomStringWriter::end() {
  if (_state == ':') appendNull();
  while (_state != 0) {
    char closing = (_state == '{' || _state == '}') ? '}' : ']';
    popState();
    if (_whiteSpace) indent();
    _out.push_back(closing);
  }
  _stack.clear();
  _state = 0;
}

void JsomStringWriter::write(const char* text, int length) {
  if (length > 0) _out.append(text, (size_t)length);
}

void JsomStringWriter::writeChar(char c) { _out.push_back(c); }

}  // namespace loomstat
