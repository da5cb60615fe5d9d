// Turns a sequence of calls (start a container, write a label, write a value,
// end the container) into JSON text appended to a caller's string. Decides
// where commas, spaces and line breaks go, and refuses calls out of sequence
// with one line on standard error.
#ifndef ZELCONV_JSOMSTRINGWRITER_H
#define ZELCONV_JSOMSTRINGWRITER_H

#include <string>

namespace loomstat {

class JsomStringWriter {
 public:
  explicit JsomStringWriter(std::string& out);
  virtual ~JsomStringWriter() = default;

  void startArray();
  void endArray();
  void startObject();
  void endObject();

  void appendLabel(const char* text, int length, bool raw);
  void appendLabel(const char* text, bool raw);

  void appendInt(int value);
  void appendUnsignedInt(unsigned int value);
  void appendLong(long long value);
  void appendUnsignedLong(unsigned long long value);
  // Fixed-point with `precision` decimals and trailing zeros trimmed;
  // exponent form beyond 1e16 in magnitude; "%f" for precision 0.
  void appendDouble(double value, int precision);
  void appendString(const std::string& text, bool raw);
  void appendString(const char* text, int length, bool raw);
  void appendBoolean(bool value);
  void appendNull();
  // Ready-made JSON text taken as one value; an empty text still counts.
  void appendJsonValue(const char* text, int length);
  // What appendJsonValue writes before its text (a comma, an indent); false
  // when the value is refused here. The caller then places the text itself.
  bool startJsonValue();

  // Closes everything that is open; a pending label gets null.
  void end();

  void write(const char* text, int length);
  void writeChar(char c);
  void flush() {}

  bool _whiteSpace;

 private:
  void pushState(char c);
  void popState();
  void indent();
  void quote(const char* text, int length, bool raw);
  // The steps every value and container start begin with; false when refused.
  bool valuePrologue(const char* operation);
  void closeContainer(char open, char filled, char closing, const char* message);
  void complain(const std::string& message);
  template <typename T>
  void appendInteger(T value);

  std::string& _out;
  int _state;
  std::string _stack;
};

}  // namespace loomstat

#endif
