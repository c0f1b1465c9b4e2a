#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/PlistValue.h"

namespace tunevale::host {

/// What values take of what a property list may hold, counted as its reader counts: what is shared, as often
/// as it is reached.
struct PlistExtent {
  std::uint64_t nodes = 0;  ///< values
  std::uint64_t bytes = 0;  ///< more than their list will have

  bool isWithin(const PlistExtent& limit) const { return nodes <= limit.nodes && bytes <= limit.bytes; }
  friend PlistExtent operator+(const PlistExtent& left, const PlistExtent& right) {
    return {left.nodes + right.nodes, left.bytes + right.bytes};
  }
  /// Of what is part of `left`.
  friend PlistExtent operator-(const PlistExtent& left, const PlistExtent& right) {
    return {left.nodes - right.nodes, left.bytes - right.bytes};
  }
};

/// What one entry of a list's outermost dictionary takes; nothing when that is past the limit or nested too
/// deep for the reader. Looks at no more values than the limit has. Any thread.
std::optional<PlistExtent> extentOfEntry(std::string_view key, const PlistValue& value,
                                         const PlistExtent& limit);

}  // namespace tunevale::host
