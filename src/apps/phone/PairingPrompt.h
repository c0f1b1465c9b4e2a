#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "phone/PhoneObserver.h"

namespace tunevale {

/// Tells of pairing on standard error in words, and asks there whether the codes are the same.
class PairingPrompt : public phone::PhoneObserver {
 public:
  void phoneDidEmit(const std::string& event) override;
  /// A line of input: the command that it means when it answers the question, which anything does that is no
  /// JSON object. "y" and "yes" say yes, everything else says no. Any thread.
  std::optional<std::string> commandFor(std::string_view line);

 private:
  std::mutex mutex_;
  std::string code_;  // while it is asked for
};

}  // namespace tunevale
