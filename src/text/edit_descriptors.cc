#include "text/edit_descriptors.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace vq {
namespace {

// Extra digits printed beyond the rounding position. glibc prints the exact
// binary value digit for digit; 80 more digits than needed separate an exact
// half from any neighbouring double for every magnitude the program prints.
constexpr int kGuardDigits = 80;

// Rounds the decimal digit string `digits` (no point) to its first `keep`
// digits, halves away from zero. Returns true if the carry ran out of the
// front (all nines), in which case `digits` becomes "1" followed by zeros.
bool RoundDigits(std::string& digits, int keep) {
  bool up = keep < static_cast<int>(digits.size()) && digits[keep] >= '5';
  digits.resize(keep);
  if (!up) return false;
  for (int i = keep - 1; i >= 0; --i) {
    if (digits[i] == '9') {
      digits[i] = '0';
    } else {
      ++digits[i];
      return false;
    }
  }
  digits.insert(digits.begin(), '1');
  return true;
}

std::string Asterisks(int w) { return std::string(w > 0 ? w : 0, '*'); }

std::string RightAligned(const std::string& text, int w) {
  if (static_cast<int>(text.size()) > w) return Asterisks(w);
  return std::string(w - text.size(), ' ') + text;
}

std::string NonFinite(double value, int w) {
  if (std::isnan(value)) return RightAligned("NaN", w);
  std::string sign = value < 0 ? "-" : "";
  std::string longer = sign + "Infinity";
  if (static_cast<int>(longer.size()) <= w) return RightAligned(longer, w);
  return RightAligned(sign + "Inf", w);
}

// The correctly rounded fixed-point digits of `magnitude` (finite, not
// negative) with `precision` decimals, as printf's "%.*f" gives them, without
// the cost of printf: the reports and saved files print many thousands of
// numbers.
std::string FixedDigits(double magnitude, int precision) {
  // 309 whole digits at most, the point, the decimals, and some room.
  std::string text(static_cast<std::size_t>(precision) + 320, '\0');
  const std::to_chars_result result = std::to_chars(
      text.data(), text.data() + text.size(), magnitude, std::chars_format::fixed, precision);
  text.resize(static_cast<std::size_t>(result.ptr - text.data()));
  return text;
}

// True when |value| * 10^d lies exactly half-way between two whole numbers:
// the one case where the correctly rounded digits of the C library (ties to
// even) and the edit descriptor (ties away from zero) can differ.
bool IsExactHalf(double magnitude, int d) {
  if (d > 22) return false;  // 2 * 10^d must be an exact double
  static const double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const double scale = 2.0 * kPowers[d];
  const double scaled = magnitude * scale;
  if (!std::isfinite(scaled) || scaled >= 9007199254740992.0) return false;
  // The product is exact only if the fused remainder vanishes.
  if (std::fma(magnitude, scale, -scaled) != 0.0) return false;
  // Below 2^53 a whole number converts exactly, and odd means a half.
  return scaled == std::floor(scaled) && (static_cast<std::uint64_t>(scaled) & 1) == 1;
}

// The digits of `magnitude` rounded to d decimals, halves away from zero:
// whole part (leading zeros dropped, at least "0") and fraction.
void RoundedDecimal(double magnitude, int d, std::string& whole, std::string& fraction) {
  std::string text;
  if (!IsExactHalf(magnitude, d)) {
    // Not a half: the C library's correctly rounded digits are the answer.
    text = FixedDigits(magnitude, d);
    const std::size_t point = text.find('.');
    whole = text.substr(0, point);
    fraction = point == std::string::npos ? std::string() : text.substr(point + 1);
  } else {
    const int precision = d + kGuardDigits;
    text = FixedDigits(magnitude, precision);
    const std::size_t point = text.find('.');
    std::string digits = text.substr(0, point) + text.substr(point + 1);
    int whole_count = static_cast<int>(point);
    if (RoundDigits(digits, whole_count + d)) ++whole_count;
    whole = digits.substr(0, whole_count);
    fraction = digits.substr(whole_count);
  }
  const std::size_t first = whole.find_first_not_of('0');
  whole = first == std::string::npos ? "0" : whole.substr(first);
}

// FormatF for the numbers of tables and saved files: magnitudes below
// 10^15 with at most 20 decimals that are no exact half, where the C
// library's correctly rounded digits are the answer. Formats into a buffer
// on the stack; false, with `out` untouched, for any other number.
bool FormatFPlain(double value, int w, int d, std::string& out) {
  const double magnitude = std::fabs(value);
  if (!(magnitude < 1e15) || d > 20 || IsExactHalf(magnitude, d)) return false;
  char text[64];
  const std::to_chars_result result =
      std::to_chars(text, text + sizeof text, magnitude, std::chars_format::fixed, d);
  const std::size_t length = static_cast<std::size_t>(result.ptr - text);
  // "W" or "W.F", W without leading zeros ("0" when below one).
  const std::size_t whole = d > 0 ? length - static_cast<std::size_t>(d) - 1 : length;
  const bool below_one = whole == 1 && text[0] == '0';
  bool is_zero = below_one;
  for (std::size_t k = whole + 1; is_zero && k < length; ++k) is_zero = text[k] == '0';
  const bool negative = value < 0 && !is_zero;
  // A missing point (d = 0) is added as the edit descriptor writes one.
  const std::size_t full = (negative ? 1 : 0) + length + (d > 0 ? 0 : 1);
  std::size_t skip = 0;  // the leading "0" dropped to fit
  if (full > static_cast<std::size_t>(w)) {
    if (!below_one || full - 1 > static_cast<std::size_t>(w)) {
      out.assign(static_cast<std::size_t>(w), '*');
      return true;
    }
    skip = 1;
  }
  const std::size_t used = full - skip;
  out.assign(static_cast<std::size_t>(w) - used, ' ');
  if (negative) out.push_back('-');
  out.append(text + skip, length - skip);
  if (d == 0) out.push_back('.');
  return true;
}

}  // namespace

std::string FormatF(double value, int w, int d) {
  if (w <= 0) return std::string();
  if (!std::isfinite(value)) return NonFinite(value, w);
  if (d < 0) d = 0;
  std::string plain;
  if (FormatFPlain(value, w, d, plain)) return plain;
  std::string whole;
  std::string fraction;
  RoundedDecimal(std::fabs(value), d, whole, fraction);
  const bool is_zero = whole == "0" && fraction.find_first_not_of('0') == std::string::npos;
  const std::string sign = (value < 0 && !is_zero) ? "-" : "";
  std::string full = sign + whole + "." + fraction;
  if (static_cast<int>(full.size()) <= w) return RightAligned(full, w);
  if (whole == "0") {
    std::string shorter = sign + "." + fraction;
    if (static_cast<int>(shorter.size()) <= w) return RightAligned(shorter, w);
  }
  return Asterisks(w);
}

std::string FormatE(double value, int w, int d, int e) {
  if (w <= 0) return std::string();
  if (!std::isfinite(value)) return NonFinite(value, w);
  if (d < 1) d = 1;
  const double magnitude = std::fabs(value);
  std::string digits;
  int exponent = 0;  // value = 0.digits * 10^exponent
  if (magnitude == 0.0) {
    digits.assign(d, '0');
  } else {
    const int precision = d - 1 + kGuardDigits;
    int needed = std::snprintf(nullptr, 0, "%.*e", precision, magnitude);
    std::vector<char> buffer(needed + 1);
    std::snprintf(buffer.data(), buffer.size(), "%.*e", precision, magnitude);
    std::string text(buffer.data());
    const std::size_t mark = text.find('e');
    exponent = std::atoi(text.c_str() + mark + 1) + 1;
    digits = text.substr(0, 1) + text.substr(2, mark - 2);
    if (RoundDigits(digits, d)) {
      ++exponent;
      digits.resize(d);
    }
  }
  const bool is_zero = digits.find_first_not_of('0') == std::string::npos;
  std::string sign = (value < 0 && !is_zero) ? "-" : "";
  const int exp_magnitude = std::abs(exponent);
  const char exp_sign = exponent < 0 ? '-' : '+';
  std::string exp_text;
  if (e == 2 && exp_magnitude > 99) {
    if (exp_magnitude > 999) return Asterisks(w);
    exp_text = std::string(1, exp_sign) + FormatI(exp_magnitude, 3, 3);
  } else {
    std::string exp_digits = FormatI(exp_magnitude, e, e);
    if (exp_digits[0] == '*') return Asterisks(w);
    exp_text = std::string("E") + exp_sign + exp_digits;
  }
  std::string full = sign + "0." + digits + exp_text;
  if (static_cast<int>(full.size()) <= w) return RightAligned(full, w);
  std::string shorter = sign + "." + digits + exp_text;
  if (static_cast<int>(shorter.size()) <= w) return RightAligned(shorter, w);
  return Asterisks(w);
}

std::string FormatI(long long value, int w, int m) {
  if (w <= 0) return std::string();
  if (m == 0 && value == 0) return std::string(w, ' ');
  unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                           : static_cast<unsigned long long>(value);
  std::string digits = std::to_string(magnitude);
  if (static_cast<int>(digits.size()) < m) digits.insert(0, m - digits.size(), '0');
  if (value < 0) digits.insert(digits.begin(), '-');
  return RightAligned(digits, w);
}

std::string FormatA(std::string_view text, int w) {
  if (w <= 0) return std::string();
  if (static_cast<int>(text.size()) >= w) return std::string(text.substr(0, w));
  return std::string(w - text.size(), ' ') + std::string(text);
}

std::string Blanks(int n) { return std::string(n > 0 ? n : 0, ' '); }

std::string PadRight(std::string_view text, int width) {
  if (width <= 0) return std::string();
  std::string out(text.substr(0, std::min<std::size_t>(text.size(), width)));
  out.resize(width, ' ');
  return out;
}

std::string_view Trim(std::string_view text) {
  std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return std::string_view();
  std::size_t last = text.find_last_not_of(' ');
  return text.substr(first, last - first + 1);
}

std::string_view TrimRight(std::string_view text) {
  std::size_t last = text.find_last_not_of(' ');
  if (last == std::string_view::npos) return std::string_view();
  return text.substr(0, last + 1);
}

std::string FreeFormInteger(long long value) { return FormatI(value, 12); }

}  // namespace vq
