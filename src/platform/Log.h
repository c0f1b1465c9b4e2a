#pragma once

#include <string_view>

namespace tunevale {

/// The system's log. There are no levels.
class Log {
 public:
  virtual ~Log() = default;
  /// Writes one line; the line end is added, control characters within are escaped. Any thread.
  virtual void write(std::string_view line) = 0;
};

}  // namespace tunevale
