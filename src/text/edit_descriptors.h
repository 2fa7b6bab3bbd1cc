// Output edit descriptors: every number and text of the report, the console
// and the saved files is laid out by these functions, with the rules of the
// FORTRAN edit descriptors that readers of the report rely on for columns.
//
//   FormatF(0.5, 5, 3)   == "0.500"      FormatF(0.5, 4, 3) == ".500"
//   FormatF(-1e-4, 8, 3) == "   0.000"   (no sign on a value that rounds to 0)
//   FormatF(1234.5, 6, 2) == "******"    (does not fit: asterisks)
//   FormatI(7, 4, 3)     == " 007"       FormatA("ab", 4) == "  ab"
//
// Rounding is to nearest on the exact binary value, with exact halves going
// away from zero.
#ifndef VELQUORIN_TEXT_EDIT_DESCRIPTORS_H_
#define VELQUORIN_TEXT_EDIT_DESCRIPTORS_H_

#include <string>
#include <string_view>

namespace vq {

// Fw.d: `value` rounded to d decimals, right-aligned in w positions. The zero
// before the point is left out when the field has no room for it; a value
// that does not fit fills the field with asterisks. A value that rounds to
// zero has no minus sign. NaN prints as "NaN", infinities as "Infinity" or
// "Inf" with their sign, right-aligned, when they fit.
std::string FormatF(double value, int w, int d);

// Ew.d (with e exponent digits, 2 by default): 0.ddddE+xx, the mantissa in
// [0.1, 1). With e = 2 an exponent beyond 99 takes the place of the letter
// ("0.123+100"). The leading zero is dropped when the field is too narrow.
std::string FormatE(double value, int w, int d, int e = 2);

// Iw and Iw.m: right-aligned integer, at least m digits (leading zeros).
// Iw.0 prints a zero as blanks. Asterisks when it does not fit.
std::string FormatI(long long value, int w, int m = 1);

// Aw: a shorter text stands right-aligned, a longer one loses its end.
std::string FormatA(std::string_view text, int w);

// n blanks (none for n <= 0).
std::string Blanks(int n);

// A text left-justified in a field of `width`: cut or padded with blanks.
// This is how fixed-width text fields of the program hold their words.
std::string PadRight(std::string_view text, int width);

// `text` without leading and trailing blanks.
std::string_view Trim(std::string_view text);

// `text` without trailing blanks.
std::string_view TrimRight(std::string_view text);

// An integer of list output (free form): 12 positions, right-aligned.
std::string FreeFormInteger(long long value);

}  // namespace vq

#endif  // VELQUORIN_TEXT_EDIT_DESCRIPTORS_H_
