#pragma once

#include <optional>
#include <string_view>

#include "foundation/PlistValue.h"

namespace tunevale {

/// The few values that outlive the process. A change is seen by every later read at once and reaches the disk
/// soon after, without a further call: it takes part in the write that begins when the one under way has
/// ended, together with all changes up to then. A process that is killed, or a power cut, loses at most what
/// was changed since; what synchronizeAndWait() has confirmed is never lost. Any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  /// The value under a key, or nothing. Never the null value.
  virtual std::optional<PlistValue> objectForKey(std::string_view key) = 0;
  /// Stores a value. Nothing, or the null value, removes the key. Returns false, with a line in the log, when
  /// the value is too large to be read back: the key then keeps the value it had, as do all others.
  virtual bool setObject(std::optional<PlistValue> value, std::string_view key) = 0;
  /// Asks for everything stored so far to be put on the disk, also what it refused before, and returns at
  /// once.
  virtual void synchronize() = 0;
  /// The same, and waits. Returns true when everything stored before is on the disk, false when the disk does
  /// not take it. Not on the main queue: this may last as long as the disk likes.
  virtual bool synchronizeAndWait() = 0;
};

/// The value that an optional holds, or null: user defaults as "any value or nothing".
inline const PlistValue* valueOrNull(const std::optional<PlistValue>& value) {
  return value ? &*value : nullptr;
}

}  // namespace tunevale
