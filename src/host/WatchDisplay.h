#pragma once

#include <functional>
#include <memory>
#include <string>

#include "http/Address.h"

namespace tunevale {
class CLKComplicationDataSource;
struct Platform;
namespace http {
class HttpServer;
}
}  // namespace tunevale

namespace tunevale::host {

class ControllerRegistry;
class PairingControl;
class RunLoop;

/// The watch as others see it: the screens of a layout, shown by a display server on the main loop. Main
/// queue, but where said otherwise.
class WatchDisplay {
 public:
  struct Options {
    std::string layoutFile;
    std::string webFolder;
    http::Address address;
    /// How many answers the phone still owes; answers to inputs wait for them. May be empty.
    std::function<std::size_t()> pendingRequests;
    /// Null where there is nobody to pair with. It outlives the display.
    PairingControl* pairing = nullptr;
  };

  /// Reads the layout and listens. Everything handed in outlives it; it uses the loop's turn end handler, and
  /// the loop may not run after it. Throws std::runtime_error with a reason of one line when the layout is
  /// wrong or the address cannot be used.
  WatchDisplay(Platform& platform, RunLoop& loop, const ControllerRegistry& registry,
               CLKComplicationDataSource& complications, Options options);
  ~WatchDisplay();

  /// Opens the initial screen: once, when the extension has launched and before the loop runs.
  void start();
  /// To be called when the phone's state, or pairing, may have changed. Any thread, while the loop lives.
  void phoneStateDidChange();
  /// For further pages on the same server.
  http::HttpServer& server();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tunevale::host
