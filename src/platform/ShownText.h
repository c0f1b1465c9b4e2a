#pragma once

#include <cstddef>
#include <string_view>

namespace tunevale {

/// Bytes of one text of a label, a title, a button, a picker's item, an alert or a complication. Nobody reads
/// that far on a wrist, and an honest title has less than 300; what is past them would be compared and sent
/// with every change of the screen.
inline constexpr std::size_t kLongestShownText = 1024;

/// The text as it is shown: without what is past the limit, never half a character. Every interface object
/// cuts what it is given. Lives as long as the text. Pure, any thread.
std::string_view shownText(std::string_view utf8, std::size_t limit = kLongestShownText) noexcept;

}  // namespace tunevale
