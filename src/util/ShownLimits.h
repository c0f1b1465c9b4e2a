#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

#include "foundation/PlistArray.h"
#include "platform/Log.h"

/// How much of the phone's lists becomes interface objects. A message may repeat one song as often as it
/// likes at hardly any cost; a row of a table costs a kilobyte and more.
namespace tunevale::WatchUtil {

/// Rows of one table, items of one picker. The longest honest list, a chart of everything, has about 1,000.
/// The list itself is kept and sent back whole.
inline constexpr std::size_t kMostRows = 2000;

/// Pure, any thread.
inline std::size_t shownCount(const PlistArray& list) {
  return std::min(list.size(), kMostRows);
}

/// For a list that a screen has just taken: says in the log that it is not shown whole, if it is not.
inline void logIfCut(const PlistArray& list, Log& log) {
  if (list.size() <= kMostRows) return;
  log.write("Only " + std::to_string(kMostRows) + " of " + std::to_string(list.size()) + " rows are shown");
}

}  // namespace tunevale::WatchUtil
