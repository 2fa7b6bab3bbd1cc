#include "html/html_text.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "text/edit_descriptors.h"

namespace vq::html {

std::string EscapeHtml(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') break;
        if (c == 0x7f) break;
        out += c;
    }
  }
  return out;
}

std::string FormatFixed(double value, int decimals) {
  // Wide enough for any value the program prints; the F descriptor's own
  // width handling (leading zero kept when there is room) then applies.
  constexpr int kWidth = 40;
  return std::string(Trim(FormatF(value, kWidth, decimals)));
}

std::string FormatCount(long long value) { return std::to_string(value); }

Ticks NiceTicks(double low, double high, int target) {
  Ticks ticks;
  if (!std::isfinite(low) || !std::isfinite(high)) low = high = 0.0;
  if (low > high) std::swap(low, high);
  if (high - low < 1e-12 * std::max(1.0, std::fabs(high))) {
    low -= 0.5;
    high += 0.5;
  }
  target = std::max(target, 2);
  const double raw = (high - low) / target;
  const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
  double step = magnitude;
  for (double factor : {1.0, 2.0, 5.0, 10.0}) {
    step = factor * magnitude;
    if (raw <= step * 1.0000001) break;
  }
  const double first = std::floor(low / step + 1e-9);
  const double last = std::ceil(high / step - 1e-9);
  for (double k = first; k <= last + 0.5; k += 1.0) {
    double value = k * step;
    if (std::fabs(value) < step * 1e-9) value = 0.0;
    ticks.values.push_back(value);
  }
  ticks.step = step;
  ticks.decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
  return ticks;
}

int CharCount(std::string_view text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string Shorten(std::string_view text, int max_chars) {
  if (CharCount(text) <= max_chars) return std::string(text);
  const int keep = std::max(0, max_chars - 3);
  int seen = 0;
  std::size_t cut = 0;
  for (; cut < text.size(); ++cut) {
    if ((static_cast<unsigned char>(text[cut]) & 0xC0) != 0x80) {
      if (seen == keep) break;
      ++seen;
    }
  }
  return std::string(text.substr(0, cut)) + "...";
}

}  // namespace vq::html
