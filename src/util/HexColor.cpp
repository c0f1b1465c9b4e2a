#include "util/HexColor.h"

#include <algorithm>
#include <string>

#include "foundation/Text.h"
#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

namespace {

constexpr Color kFallbackGrey = Color::ofBytes(62, 62, 62);

/// One character for each UTF-16 code unit: lengths and positions are counted in those. Only ASCII
/// is made upper case: no other spelling of a digit is meant.
std::string codeUnits(std::string_view utf8) {
  std::string units;
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      units += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    } else if (byte >= 0xC0) {
      units.append(byte >= 0xF0 ? 2 : 1, '?');
    }
  }
  return units;
}

int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

int component(char first, char second) {
  if (digit(first) < 0) return 0;
  return digit(second) < 0 ? digit(first) : digit(first) * 16 + digit(second);
}

}  // namespace

Color getColorFromHex(const PlistValue* hex, float withAlpha) {
  if (!isNonEmptyString(hex)) return Color::blackColor();
  std::string units =
      codeUnits(trimmed(stringOrEmpty(hex), [](char32_t c) { return isBlank(c) || isNewline(c); }));
  std::erase(units, '#');
  if (units.starts_with("0X")) units.erase(0, 2);
  if (units.size() != 6) return kFallbackGrey;
  return Color::ofBytes(component(units[0], units[1]), component(units[2], units[3]),
                        component(units[4], units[5]), withAlpha);
}

Color getColorFromHex(const PlistValue* hex) {
  return getColorFromHex(hex, 1.0F);
}

}  // namespace tunevale::WatchUtil
