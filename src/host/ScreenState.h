#pragma once

#include <boost/json/fwd.hpp>

#include "host/WatchFace.h"

namespace tunevale {
class PhoneSession;
}

namespace tunevale::host {

class ImageStore;
class Navigation;

/// How the phone is, as far as the display tells.
struct PhoneState {
  bool activated = false;
  bool reachable = false;
  bool locked = false;
  static PhoneState of(const PhoneSession& session);
  friend bool operator==(const PhoneState&, const PhoneState&) = default;
};

/// What is on the watch now, as docs/display-api.md describes a SCREEN, but for its version. `face` is null
/// in the foreground. Main queue.
boost::json::object screenJson(const Navigation& navigation, const WatchFace::Answers* face,
                               const PhoneState& phone, ImageStore& images);

}  // namespace tunevale::host
