#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/PhoneSession.h"

namespace tunevale {

class Log;
struct WatchOptions;
namespace host {
class HomeFolder;
class LinkPhoneSession;
class RunLoop;
}  // namespace host

/// The watch's way to its phone, as the command line wants it: the link, recorded or not, or a recording.
class PhoneSide {
 public:
  /// Throws std::runtime_error with a reason of one line when a file, folder or address cannot be used. What
  /// is handed in outlives it.
  PhoneSide(host::RunLoop& loop, const host::HomeFolder& home, Log& log, const WatchOptions& options);
  /// Handles what came already. On the main queue, or while that does not run.
  ~PhoneSide();

  PhoneSession& session();
  /// Null with a recording.
  host::LinkPhoneSession* link();
  /// Requests whose handler has not run yet. Any thread.
  std::size_t pendingRequests() const;
  /// Called on the main queue after the phone's state or pairing has changed. Set it before the session is
  /// activated.
  void setChangeHandler(std::function<void()> handler);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tunevale
