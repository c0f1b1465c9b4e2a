#pragma once

#include <memory>
#include <string>

namespace tunevale {

namespace host {
class LinkPhoneSession;
class RunLoop;
class WatchDisplay;
}  // namespace host

/// The demo phone, with its console on the watch's own display server. It keeps what it has beside what the
/// watch keeps.
class Demo {
 public:
  /// Pairs the two where they are not; null when the watch is paired with another phone, which stays so. The
  /// session is activated and knows the address. Throws std::runtime_error with a reason of one line when the
  /// folder cannot be used.
  static std::unique_ptr<Demo> start(host::RunLoop& loop, host::WatchDisplay& display,
                                     host::LinkPhoneSession& session, const std::string& linkHost,
                                     const std::string& folder);
  ~Demo();

 private:
  struct Parts;
  explicit Demo(std::unique_ptr<Parts> parts);
  std::unique_ptr<Parts> parts_;
};

}  // namespace tunevale
