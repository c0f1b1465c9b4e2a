#pragma once

#include <optional>
#include <string_view>

#include "foundation/PlistValue.h"

namespace tunevale {

/// The few values that outlive the process. Any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  /// The value under a key, or nothing. Never the null value.
  virtual std::optional<PlistValue> objectForKey(std::string_view key) = 0;
  /// Stores a value, seen by every later read. Nothing, or the null value, removes the key. Reaches the disk
  /// soon after, without a further call.
  virtual void setObject(std::optional<PlistValue> value, std::string_view key) = 0;
  /// Returns when everything stored so far is on the disk, as far as the disk lets it.
  virtual void synchronize() = 0;
};

/// The value that an optional holds, or null: user defaults as "any value or nothing".
inline const PlistValue* valueOrNull(const std::optional<PlistValue>& value) {
  return value ? &*value : nullptr;
}

}  // namespace tunevale
