#include "text/edit_descriptors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace vq {
namespace {

TEST(FormatF, AsterisksWhenTooWide) {
  EXPECT_EQ(FormatF(1.0, 3, 2), "***");
  EXPECT_EQ(FormatF(1234.5, 6, 2), "******");
  EXPECT_EQ(FormatF(1.0, 10, 9), "**********");
  EXPECT_EQ(FormatF(-1.5, 4, 2), "****");
}

TEST(FormatF, NonFinite) {
  EXPECT_EQ(FormatF(std::nan(""), 8, 3), "     NaN");
  EXPECT_EQ(FormatF(std::numeric_limits<double>::infinity(), 8, 3), "Infinity");
  EXPECT_EQ(FormatF(-std::numeric_limits<double>::infinity(), 8, 3), "    -Inf");
}

TEST(FormatE, Layout) {
  EXPECT_EQ(FormatE(0.0, 13, 5), "  0.00000E+00");
  EXPECT_EQ(FormatE(1.5, 13, 5), "  0.15000E+01");
  EXPECT_EQ(FormatE(-0.000123456, 11, 3), " -0.123E-03");
  EXPECT_EQ(FormatE(123.0, 9, 2), " 0.12E+03");
  EXPECT_EQ(FormatE(0.99999, 9, 2), " 0.10E+01");
  EXPECT_EQ(FormatE(1e120, 11, 3), "  0.100+121");
  EXPECT_EQ(FormatE(-1.0, 9, 3), "-.100E+01");
}

}  // namespace
}  // namespace vq

namespace vq {
namespace {

// Reference rounding: all exact digits of the value, then halves away from
// zero by hand on the digit string.
std::string ReferenceFixed(double magnitude, int d) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, "%.*f", d + 120, magnitude);
  std::string text(buffer);
  std::size_t point = text.find('.');
  std::string digits = text.substr(0, point) + text.substr(point + 1);
  std::size_t keep = point + d;
  bool up = digits[keep] >= '5';
  digits.resize(keep);
  std::size_t whole = point;
  if (up) {
    int i = static_cast<int>(keep) - 1;
    while (i >= 0 && digits[i] == '9') digits[i--] = '0';
    if (i < 0) {
      digits.insert(digits.begin(), '1');
      ++whole;
    } else {
      ++digits[i];
    }
  }
  std::string w = digits.substr(0, whole);
  std::size_t first = w.find_first_not_of('0');
  w = first == std::string::npos ? "0" : w.substr(first);
  return w + "." + digits.substr(whole);
}

TEST(FormatF, AgreesWithExactDigitRoundingOnManyValues) {
  std::uint64_t state = 12345;
  auto next = [&state]() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return state >> 11;
  };
  for (int trial = 0; trial < 20000; ++trial) {
    int d = static_cast<int>(next() % 10);
    double magnitude;
    if (trial % 3 == 0) {
      // Exact halves at the rounding position: k + 1/2 units of 10^-d.
      double k = static_cast<double>(next() % 100000);
      magnitude = (k + 0.5) / std::pow(10.0, d);
    } else {
      magnitude = static_cast<double>(next()) / 9007199254740992.0 *
                  std::pow(10.0, static_cast<int>(next() % 8) - 3);
    }
    std::string expected = ReferenceFixed(magnitude, d);
    ASSERT_EQ(FormatF(magnitude, 40, d), std::string(40 - expected.size(), ' ') + expected)
        << magnitude << " d=" << d;
    // Negative, in every width: the sign unless the digits are all zero,
    // the leading zero dropped only when that makes it fit, else asterisks.
    const bool zero = expected.find_first_not_of("0.") == std::string::npos;
    const std::string full = (zero ? "" : "-") + expected;
    const std::string shorter =
        expected.rfind("0.", 0) == 0 ? (zero ? "" : "-") + expected.substr(1) : full;
    const int w = 1 + static_cast<int>(next() % 12);
    std::string wanted(static_cast<std::size_t>(w), '*');
    if (static_cast<int>(full.size()) <= w) {
      wanted = std::string(w - full.size(), ' ') + full;
    } else if (static_cast<int>(shorter.size()) <= w) {
      wanted = std::string(w - shorter.size(), ' ') + shorter;
    }
    ASSERT_EQ(FormatF(-magnitude, w, d), wanted) << -magnitude << " w=" << w << " d=" << d;
  }
}

}  // namespace
}  // namespace vq
