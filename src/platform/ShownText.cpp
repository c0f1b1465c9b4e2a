#include "platform/ShownText.h"

namespace tunevale {

std::string_view shownText(std::string_view utf8, std::size_t limit) noexcept {
  if (utf8.size() <= limit) return utf8;
  // The first byte that goes may be within a character, of which up to three bytes then stand before it.
  std::size_t end = limit;
  while (end > 0 && limit - end < 3 && (static_cast<unsigned char>(utf8[end]) & 0xC0U) == 0x80U) --end;
  return utf8.substr(0, end);
}

}  // namespace tunevale
