// Decimal text of numbers, the same bytes printf writes for "%.Nf", "%e",
// "%u" and "%llu", without parsing a format for each value. The document is
// mostly numbers, and printf's general conversion is its largest cost.
#ifndef ZELCONV_JSOMNUMBERTEXT_H
#define ZELCONV_JSOMNUMBERTEXT_H

#include <cstddef>

namespace loomstat {

class JsomNumberText {
 public:
  // Enough for any integer, and for a fixed form below the exponent limit
  // with up to 9 decimals.
  static constexpr size_t kShortText = 40;

  // What snprintf(buffer, size, "%.*f", precision, value) writes and
  // returns: the full length, with the text cut to size - 1 bytes and ended
  // by a NUL when it is longer.
  static int fixed(char* buffer, size_t size, double value, int precision);
  // The same for "%e".
  static int exponent(char* buffer, size_t size, double value);
  // "%u" and "%llu", unterminated; the buffer holds kShortText bytes.
  static int unsignedInt(char* buffer, unsigned int value);
  static int unsignedLong(char* buffer, unsigned long long value);
};

}  // namespace loomstat

#endif
