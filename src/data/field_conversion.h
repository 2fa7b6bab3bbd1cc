// Turning the text of one field or list value into a number. Record formats
// and list reads share these rules, so a number means the same in a data
// record, a given matrix and the command file.
//
// Every function returns 0 on success or the number of the severe error the
// text earns (64 input conversion error, 59 list-directed I/O syntax error);
// the value is written only on success. Results are correctly rounded: the
// digits, the implied decimals, the exponent and the scale factor are joined
// into one decimal number first and rounded to a double once.
#ifndef VELQUORIN_DATA_FIELD_CONVERSION_H_
#define VELQUORIN_DATA_FIELD_CONVERSION_H_

#include <cstdint>
#include <string_view>

namespace vq {

// The powers of ten that are exact doubles, 10^0 to 10^22.
inline constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                               1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                               1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The common field of item data, converted without a call: leading blanks
// or tabs, then an optional sign and at most 15 digits up to the end of the
// field, with `exponent10` (minus the scale factor and the implied
// decimals) within +-22. Up to 15 digits and such a power are exact
// doubles, so one multiplication or division rounds once, as the general
// conversion does. An all-blank field is 0.0. Returns false, with `value`
// untouched, for any other field; ConvertRealField gives the same value
// for every field this takes, provided no BZ padding lies behind it.
inline bool ConvertPlainRealField(std::string_view field, long long exponent10, double& value) {
  const std::size_t n = field.size();
  std::size_t i = 0;
  while (i < n && (field[i] == ' ' || field[i] == '\t')) ++i;
  if (i == n) {
    value = 0.0;
    return true;
  }
  bool negative = false;
  if (field[i] == '+' || field[i] == '-') {
    negative = field[i] == '-';
    ++i;
  }
  if (i == n || n - i > 15 || exponent10 < -22 || exponent10 > 22) return false;
  std::uint64_t whole = 0;
  for (; i < n; ++i) {
    const unsigned digit = static_cast<unsigned char>(field[i]) - static_cast<unsigned>('0');
    if (digit > 9) return false;
    whole = whole * 10 + digit;
  }
  double magnitude = static_cast<double>(whole);
  if (exponent10 < 0) {
    magnitude /= kExactPowersOfTen[-exponent10];
  } else {
    magnitude *= kExactPowersOfTen[exponent10];
  }
  // Zero has no sign: "-0" is 0.0.
  value = negative && whole != 0 ? -magnitude : magnitude;
  return true;
}

// A real field (F, E, EN, ES, D, G) of a record format. Leading blanks and
// tabs are passed over; further blanks are ignored, or are zeros when
// `blank_zero` (BZ); a tab after that fails. Empty or all blank gives 0.0.
// Form: optional sign, digits with an optional point, optional exponent (E,
// D or Q in any case with an optional sign, or a sign alone). Without a
// point the last `decimals` digits are decimals; without an exponent the
// value is divided by 10 to the `scale` (kP). At least one digit is needed.
// `padding` counts blanks behind `field` that stand for columns beyond the
// end of a short record: they are zeros under BZ like any other blank.
int ConvertRealField(std::string_view field,
                     bool blank_zero,
                     int decimals,
                     int scale,
                     double& value,
                     long long padding = 0);

// An integer field read into a double item: I (radix 10, optional sign), O
// (8), Z (16) or B (2), the last three without sign. Blanks as for real
// fields (`padding` as above); empty gives 0. The whole number is stored as
// its value, so "1" read by I1 gives 1.0. More than 64 bits fail.
int ConvertIntegerField(
    std::string_view field, bool blank_zero, int radix, double& value, long long padding = 0);

// A logical field (L) read into a double item: optional blanks, an optional
// point, then T or F in any case (what follows is not looked at) give 1.0 or
// 0.0; an empty or blank field gives 0.0.
int ConvertLogicalField(std::string_view field, double& value);

// A list value for a double item: the real forms above without blanks or
// implied decimals. A value that does not start like a number (sign, point
// or digit) is a syntax error (59); one that starts so and breaks the form
// is a conversion error (64).
int ConvertListReal(std::string_view token, double& value);

// A list value for a 32-bit integer item: an integer with an optional sign,
// or a real form truncated toward zero ("10.7" gives 10). Values outside the
// 32-bit range fail with 64; errors otherwise as for `ConvertListReal`.
int ConvertListInteger(std::string_view token, int& value);

}  // namespace vq

#endif  // VELQUORIN_DATA_FIELD_CONVERSION_H_
