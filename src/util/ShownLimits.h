#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "foundation/PlistValue.h"

/// How much of the phone's data becomes interface objects. A message may repeat one song, or one long title,
/// as often as it likes at hardly any cost; a row of a table costs a kilobyte and more. Pure, any thread.
namespace tunevale::WatchUtil {

/// Rows of one table, items of one picker. The longest honest list, a chart of everything, has about 1,000.
/// The list itself is kept and sent back whole.
inline constexpr std::size_t kMostRows = 2000;

inline std::size_t shownCount(const PlistArray& list) {
  return std::min(list.size(), kMostRows);
}

/// Bytes of one text of a row. Nobody reads that far on a wrist; an honest title has less than 300.
inline constexpr std::size_t kLongestRowText = 1024;

/// The string as a row shows it, without what is past the limit (never half a character); "" for what is no
/// string. Lives as long as the value.
std::string_view rowText(const PlistValue* value) noexcept;

}  // namespace tunevale::WatchUtil
