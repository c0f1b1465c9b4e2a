#include "foundation/Text.h"

#include <limits>

#include "foundation/Utf.h"

namespace tunevale {
namespace {

/// Where the last character of a text that is not empty starts. Ill-formed bytes count one by one.
std::size_t lastCharacter(std::string_view text) {
  std::size_t start = text.size() - 1;
  for (std::size_t back = 0; back < 3 && start > 0; ++back) {
    if ((static_cast<unsigned char>(text[start]) & 0xC0U) != 0x80) break;
    --start;
  }
  const Utf8Step step = utf8Step(text.substr(start));
  return step.wellFormed && start + step.length == text.size() ? start : text.size() - 1;
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  for (std::size_t i = asciiPrefix(text); i < text.size();) {
    const Utf8Step step = utf8Step(text.substr(i));
    if (!step.wellFormed) return false;
    i += step.length;
    if (step.length == 1) i += asciiPrefix(text.substr(i));
  }
  return true;
}

std::string sanitizedUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const Utf8Step step = utf8Step(text.substr(i));
    if (step.wellFormed) {
      result.append(text, i, step.length);
    } else {
      result += "\xEF\xBF\xBD";
    }
    i += step.length;
  }
  return result;
}

std::size_t utf16Length(std::string_view utf8) {
  std::size_t units = 0;
  for (std::size_t i = 0; i < utf8.size();) {
    const Utf8Step step = utf8Step(utf8.substr(i));
    units += step.character >= 0x10000 ? 2 : 1;
    i += step.length;
  }
  return units;
}

std::string_view dropLastUtf16(std::string_view utf8, std::size_t units) {
  while (units > 0 && !utf8.empty()) {
    const std::size_t start = lastCharacter(utf8);
    const std::size_t width = utf8.size() - start == 4 ? 2 : 1;
    units -= width < units ? width : units;
    utf8 = utf8.substr(0, start);
  }
  return utf8;
}

bool isNewline(char32_t c) {
  return (c >= 0xA && c <= 0xD) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isBlank(char32_t c) {
  return c == 0x9 || c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F ||
         c == 0x205F || c == 0x3000;
}

std::string_view trimmed(std::string_view utf8, bool (*test)(char32_t)) {
  while (!utf8.empty()) {
    const Utf8Step step = utf8Step(utf8);
    if (!test(step.character)) break;
    utf8.remove_prefix(step.length);
  }
  while (!utf8.empty()) {
    const std::size_t start = lastCharacter(utf8);
    if (!test(utf8Step(utf8.substr(start)).character)) break;
    utf8 = utf8.substr(0, start);
  }
  return utf8;
}

std::int64_t integerValue(std::string_view text) {
  text = trimmed(text, isBlank);
  bool negative = false;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  std::int64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    const int digit = c - '0';
    if (negative ? value < (kMin + digit) / 10 : value > (kMax - digit) / 10) return negative ? kMin : kMax;
    value = negative ? value * 10 - digit : value * 10 + digit;
  }
  return value;
}

std::string replacingAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  result.reserve(text.size());
  std::size_t start = 0;
  while (!from.empty()) {
    const std::size_t found = text.find(from, start);
    if (found == std::string_view::npos) break;
    result.append(text, start, found - start).append(to);
    start = found + from.size();
  }
  return result.append(text, start);
}

}  // namespace tunevale
