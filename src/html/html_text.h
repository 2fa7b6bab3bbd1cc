// Text pieces of the HTML report: escaping of user text (titles, labels and
// file names come from the user's files), numbers in the digits the text
// report prints, and axis ticks for the plots. Pure functions, no state.
//
//   EscapeHtml("a<b & 'c'")  == "a&lt;b &amp; &#39;c&#39;"
//   FormatFixed(-0.0261, 3)  == "-0.026"     FormatFixed(0.5, 3) == "0.500"
//   NiceTicks(0.0, 2.9, 6)   == {0, 0.5, 1, 1.5, 2, 2.5, 3}, step 0.5
#ifndef VELQUORIN_HTML_HTML_TEXT_H_
#define VELQUORIN_HTML_HTML_TEXT_H_

#include <string>
#include <string_view>
#include <vector>

namespace vq::html {

// `text` with the five characters that have a meaning in HTML and XML
// (& < > " ') replaced by entities, safe in element text and in quoted
// attribute values alike. Control characters other than tab and newline are
// dropped: they are not allowed in XML and a browser shows them as boxes.
std::string EscapeHtml(std::string_view text);

// `value` rounded to `decimals` places as the text report's F edit
// descriptor rounds it (halves away from zero, no sign on a value that
// rounds to zero, a zero before the point), without padding.
std::string FormatFixed(double value, int decimals);

// An integer with no grouping: "1000", "-3".
std::string FormatCount(long long value);

// Tick marks for an axis over [low, high]: multiples of a step of 1, 2 or 5
// times a power of ten, about `target` of them, from the multiple at or
// below `low` to the one at or above `high`. `decimals` receives the number
// of decimals that shows the step exactly. A degenerate or non-finite range
// is widened to one unit around its value.
struct Ticks {
  std::vector<double> values;
  double step = 1.0;
  int decimals = 0;
};
Ticks NiceTicks(double low, double high, int target);

// `text` cut to at most `max_chars` characters (UTF-8 aware: a character
// is never split) with "..." put at the end when it was cut.
std::string Shorten(std::string_view text, int max_chars);

// Number of UTF-8 characters in `text` (bytes that start a character).
int CharCount(std::string_view text);

}  // namespace vq::html

#endif  // VELQUORIN_HTML_HTML_TEXT_H_
