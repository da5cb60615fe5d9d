// The number forms of the document against the C library's own, over many
// values of every kind the converter meets: times, huge and tiny values,
// exact ties of the rounding, and the edges of the exponent limit.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "JsomNumberText.h"

using loomstat::JsomNumberText;

namespace {

std::string viaPrintf(const char* format, double value, int precision = -1) {
  char buffer[512];
  int length = precision < 0 ? snprintf(buffer, sizeof buffer, format, value)
                             : snprintf(buffer, sizeof buffer, format, precision, value);
  return std::string(buffer, (size_t)length);
}

// Random doubles: uniform bit patterns, decimal magnitudes from 1e-12 to 1e20,
// nanosecond times of a long uptime in seconds, and values that end in an exact
// half at the rounded place (multiples of 2^-k), where rounding must go to even.
double randomValue(std::mt19937_64& random) {
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  double value = 0.0;
  switch (random() % 5) {
    case 0: {
      uint64_t bits = random();
      memcpy(&value, &bits, sizeof value);
      break;
    }
    case 1: value = unit(random) * std::pow(10.0, (int)(random() % 33) - 12); break;
    case 2: value = (double)(random() % 4000000000000000000ULL) / 1e9 + 1000000.0; break;
    case 3: value = std::ldexp((double)(random() % 100000000), -(int)(random() % 40)); break;
    default: value = 1e16 + (double)((int64_t)(random() % 2000000000) - 1000000000) * 8.0; break;
  }
  return random() % 2 ? -value : value;
}

}  // namespace

TEST(JsomNumberText, EqualsPrintfOverRandomValues) {
  std::mt19937_64 random(13);
  const double fixedCases[] = {0.0,
                               -0.0,
                               0.5,
                               1.5,
                               2.5,
                               0.0009765625,
                               1e16,
                               -1e16,
                               1e17,
                               9.999999999999999e16,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(),
                               -std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::denorm_min(),
                               std::numeric_limits<double>::max()};
  char text[512];
  for (int i = 0; i < 20000; i++) {
    const double value =
        i < (int)(sizeof fixedCases / sizeof *fixedCases) ? fixedCases[i] : randomValue(random);
    for (int precision : {9, 6}) {
      const std::string expected = viaPrintf("%.*f", value, precision);
      const int length = JsomNumberText::fixed(text, sizeof text, value, precision);
      ASSERT_EQ(std::string(text, (size_t)length), expected) << value;
    }
    ASSERT_EQ(std::string(text, (size_t)JsomNumberText::exponent(text, sizeof text, value)),
              viaPrintf("%e", value))
        << value;
    // A short buffer is cut as snprintf cuts it, and the full length is still told.
    char shortText[8];
    char shortPrintf[8];
    ASSERT_EQ(JsomNumberText::fixed(shortText, sizeof shortText, value, 6),
              snprintf(shortPrintf, sizeof shortPrintf, "%f", value));
    ASSERT_STREQ(shortText, shortPrintf);

    const uint64_t bits = random() >> (random() % 64);
    char integer[JsomNumberText::kShortText];
    snprintf(text, sizeof text, "%llu", (unsigned long long)bits);
    ASSERT_EQ(std::string(integer, (size_t)JsomNumberText::unsignedLong(integer, bits)), text);
    snprintf(text, sizeof text, "%u", (unsigned int)bits);
    ASSERT_EQ(
        std::string(integer, (size_t)JsomNumberText::unsignedInt(integer, (unsigned int)bits)),
        text);
  }
}
