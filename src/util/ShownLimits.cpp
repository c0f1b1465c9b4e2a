#include "util/ShownLimits.h"

#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

std::string_view rowText(const PlistValue* value) noexcept {
  const std::string_view text = stringOrEmpty(value);
  if (text.size() <= kLongestRowText) return text;
  std::size_t end = kLongestRowText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end);
}

}  // namespace tunevale::WatchUtil
