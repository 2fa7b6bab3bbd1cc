#include "data/field_conversion.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "data/record_reader.h"

namespace vq {
namespace {

// Exponents beyond this are far outside the range of a double either way;
// capping them keeps the arithmetic on them exact and small.
constexpr long long kExponentCap = 1000000000LL;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsExponentLetter(char c) {
  return c == 'E' || c == 'e' || c == 'D' || c == 'd' || c == 'Q' || c == 'q';
}

long long CappedExponent(long long value) {
  if (value > kExponentCap) return kExponentCap;
  if (value < -kExponentCap) return -kExponentCap;
  return value;
}

// The value of the decimal number digits * 10^exponent10, rounded once.
// Fails (64) when it lies beyond the range of a double.
int DecimalToDouble(const std::string& digits, long long exponent10, bool negative, double& value) {
  std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) {
    value = 0.0;
    return 0;
  }
  // Up to 15 digits and a power of ten up to 22 are both exact doubles, so one
  // multiplication or division rounds the exact value once, as strtod would.
  const std::size_t significant = digits.size() - first;
  if (significant <= 15 && exponent10 >= -22 && exponent10 <= 22) {
    std::uint64_t whole = 0;
    for (std::size_t k = first; k < digits.size(); ++k) {
      whole = whole * 10 + static_cast<std::uint64_t>(digits[k] - '0');
    }
    double magnitude = static_cast<double>(whole);
    if (exponent10 < 0) {
      magnitude /= kExactPowersOfTen[-exponent10];
    } else {
      magnitude *= kExactPowersOfTen[exponent10];
    }
    value = negative ? -magnitude : magnitude;
    return 0;
  }
  std::string text = digits.substr(first);
  text += 'e';
  text += std::to_string(CappedExponent(exponent10));
  errno = 0;
  double magnitude = std::strtod(text.c_str(), nullptr);
  if (std::isinf(magnitude)) return kSevereConversion;
  value = negative ? -magnitude : magnitude;
  return 0;
}

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  return 99;
}

bool StartsLikeNumber(std::string_view token) {
  if (token.empty()) return false;
  const char c = token[0];
  return IsDigit(c) || c == '+' || c == '-' || c == '.';
}

}  // namespace

int ConvertRealField(std::string_view field,
                     bool blank_zero,
                     int decimals,
                     int scale,
                     double& value,
                     long long padding) {
  // Data files hold millions of plain digit fields: they take the short way.
  if (!(blank_zero && padding > 0) &&
      ConvertPlainRealField(field, -static_cast<long long>(scale) - decimals, value)) {
    return 0;
  }
  const std::size_t n = field.size();
  std::size_t i = 0;
  while (i < n && (field[i] == ' ' || field[i] == '\t')) ++i;
  if (i == n) {
    value = 0.0;
    return 0;
  }
  bool negative = false;
  if (field[i] == '+' || field[i] == '-') {
    negative = field[i] == '-';
    ++i;
  }
  // Mantissa: digits and at most one point; blanks are ignored or zeros.
  std::string digits;
  bool point = false;
  long long fraction_digits = 0;
  for (; i < n; ++i) {
    char c = field[i];
    if (c == ' ') {
      if (!blank_zero) continue;
      c = '0';
    }
    if (IsDigit(c)) {
      digits.push_back(c);
      if (point) ++fraction_digits;
    } else if (c == '.') {
      if (point) return kSevereConversion;
      point = true;
    } else {
      break;
    }
  }
  // Exponent: a letter with an optional sign, or a sign alone, then digits.
  bool has_exponent = false;
  long long exponent = 0;
  // Zeros that BZ makes of the padding of a short record, added to the
  // mantissa: behind a point they change nothing, else they scale by 10.
  long long padded_zeros = 0;
  if (i == n && blank_zero && padding > 0) {
    if (digits.empty()) digits.push_back('0');
    if (!point) padded_zeros = std::min(padding, kExponentCap);
  }
  if (i < n) {
    const char mark = field[i];
    const bool letter = IsExponentLetter(mark);
    if (!letter && mark != '+' && mark != '-') return kSevereConversion;
    if (letter) {
      ++i;
      while (i < n && field[i] == ' ' && !blank_zero) ++i;
    }
    bool exponent_negative = false;
    if (i < n && (field[i] == '+' || field[i] == '-')) {
      exponent_negative = field[i] == '-';
      ++i;
    }
    int exponent_digits = 0;
    for (; i < n; ++i) {
      char c = field[i];
      if (c == ' ') {
        if (!blank_zero) continue;
        c = '0';
      }
      if (!IsDigit(c)) return kSevereConversion;
      exponent = CappedExponent(exponent * 10 + (c - '0'));
      ++exponent_digits;
    }
    if (blank_zero && padding > 0) {
      for (long long pad = 0; pad < padding && exponent != 0 && exponent < kExponentCap; ++pad) {
        exponent = CappedExponent(exponent * 10);
      }
      ++exponent_digits;
    }
    if (exponent_digits == 0) return kSevereConversion;
    if (exponent_negative) exponent = -exponent;
    has_exponent = true;
  }
  if (digits.empty()) return kSevereConversion;
  long long exponent10 = has_exponent ? exponent : -static_cast<long long>(scale);
  exponent10 += padded_zeros;
  exponent10 -= point ? fraction_digits : static_cast<long long>(decimals);
  return DecimalToDouble(digits, exponent10, negative, value);
}

int ConvertIntegerField(
    std::string_view field, bool blank_zero, int radix, double& value, long long padding) {
  const std::size_t n = field.size();
  std::size_t i = 0;
  while (i < n && (field[i] == ' ' || field[i] == '\t')) ++i;
  if (i == n) {
    value = 0.0;
    return 0;
  }
  bool negative = false;
  if (radix == 10 && (field[i] == '+' || field[i] == '-')) {
    negative = field[i] == '-';
    ++i;
  }
  std::uint64_t magnitude = 0;
  int digit_count = 0;
  const std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
  for (; i < n; ++i) {
    char c = field[i];
    if (c == ' ') {
      if (!blank_zero) continue;
      c = '0';
    }
    const int digit = DigitValue(c);
    if (digit >= radix) return kSevereConversion;
    const std::uint64_t base = static_cast<std::uint64_t>(radix);
    if (magnitude > (limit - static_cast<std::uint64_t>(digit)) / base) return kSevereConversion;
    magnitude = magnitude * base + static_cast<std::uint64_t>(digit);
    ++digit_count;
  }
  if (blank_zero && padding > 0) {
    // Zeros behind the digits; a magnitude of 0 stays 0 however many.
    const std::uint64_t base = static_cast<std::uint64_t>(radix);
    for (long long pad = 0; pad < padding && magnitude != 0; ++pad) {
      if (magnitude > limit / base) return kSevereConversion;
      magnitude *= base;
    }
    ++digit_count;
  }
  if (digit_count == 0) return kSevereConversion;
  if (radix != 10) {
    value = static_cast<double>(magnitude);
    return 0;
  }
  // A signed 64-bit integer, as an integer item of that size would hold.
  const std::uint64_t most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (magnitude > most + (negative ? 1u : 0u)) return kSevereConversion;
  const double size = static_cast<double>(magnitude);
  value = negative && magnitude != 0 ? -size : size;
  return 0;
}

int ConvertLogicalField(std::string_view field, double& value) {
  const std::size_t n = field.size();
  std::size_t i = 0;
  while (i < n && (field[i] == ' ' || field[i] == '\t')) ++i;
  if (i == n) {
    value = 0.0;
    return 0;
  }
  if (field[i] == '.') ++i;
  if (i == n) return kSevereConversion;
  const char c = field[i];
  if (c == 'T' || c == 't') {
    value = 1.0;
    return 0;
  }
  if (c == 'F' || c == 'f') {
    value = 0.0;
    return 0;
  }
  return kSevereConversion;
}

int ConvertListReal(std::string_view token, double& value) {
  if (!StartsLikeNumber(token)) return kSevereListSyntax;
  return ConvertRealField(token, false, 0, 0, value);
}

int ConvertListInteger(std::string_view token, int& value) {
  if (!StartsLikeNumber(token)) return kSevereListSyntax;
  std::size_t i = (token[0] == '+' || token[0] == '-') ? 1 : 0;
  const bool negative = token[0] == '-';
  bool plain = i < token.size();
  for (std::size_t k = i; k < token.size(); ++k) plain = plain && IsDigit(token[k]);
  if (plain) {
    long long magnitude = 0;
    for (; i < token.size(); ++i) {
      magnitude = magnitude * 10 + (token[i] - '0');
      if (magnitude > 2147483648LL) return kSevereConversion;
    }
    const long long signed_value = negative ? -magnitude : magnitude;
    if (signed_value > std::numeric_limits<int>::max()) return kSevereConversion;
    value = static_cast<int>(signed_value);
    return 0;
  }
  double real = 0.0;
  const int status = ConvertRealField(token, false, 0, 0, real);
  if (status != 0) return status;
  const double truncated = std::trunc(real);
  if (truncated > static_cast<double>(std::numeric_limits<int>::max()) ||
      truncated < static_cast<double>(std::numeric_limits<int>::min())) {
    return kSevereConversion;
  }
  value = static_cast<int>(truncated);
  return 0;
}

}  // namespace vq
