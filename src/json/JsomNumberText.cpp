#include "JsomNumberText.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace loomstat {

namespace {

// Finite values below this magnitude have at most 17 digits before the point,
// so their fixed form with the program's precisions fits a short buffer.
// Everything else (huge values, infinities, NaN, which printf spells in its
// own way) is left to printf, as are precisions the short buffer cannot hold.
const double kShortLimit = 1e17;
const int kMaxShortPrecision = 12;

// Copies like snprintf: at most size - 1 bytes and a NUL; returns the full length.
int copyOut(char* buffer, size_t size, const char* text, size_t length) {
  if (size != 0) {
    size_t taken = length < size - 1 ? length : size - 1;
    memcpy(buffer, text, taken);
    buffer[taken] = '\0';
  }
  return (int)length;
}

}  // namespace

int JsomNumberText::fixed(char* buffer, size_t size, double value, int precision) {
  if (!std::isfinite(value) || std::fabs(value) >= kShortLimit || precision < 0 ||
      precision > kMaxShortPrecision)
    return snprintf(buffer, size, "%.*f", precision, value);
  // to_chars rounds the exact binary value to nearest, ties to even, as the C library does.
  char text[kShortText];
  std::to_chars_result result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, precision);
  return copyOut(buffer, size, text, (size_t)(result.ptr - text));
}

int JsomNumberText::exponent(char* buffer, size_t size, double value) {
  if (!std::isfinite(value)) return snprintf(buffer, size, "%e", value);
  char text[kShortText];
  std::to_chars_result result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 6);
  return copyOut(buffer, size, text, (size_t)(result.ptr - text));
}

int JsomNumberText::unsignedInt(char* buffer, unsigned int value) {
  return (int)(std::to_chars(buffer, buffer + kShortText, value).ptr - buffer);
}

int JsomNumberText::unsignedLong(char* buffer, unsigned long long value) {
  return (int)(std::to_chars(buffer, buffer + kShortText, value).ptr - buffer);
}

}  // namespace loomstat
