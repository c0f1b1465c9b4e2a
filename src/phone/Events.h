#pragma once

#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "phone/PhoneObserver.h"

namespace tunevale::phone {

/// Tells the observer what happens, as lines of JSON; docs/phone.md lists them.
class Events {
 public:
  explicit Events(PhoneObserver& observer) : observer_(observer) {}
  /// One event: its name and its other members. A `ref` is that of the command that brought it about, or "".
  void emit(std::string_view name, boost::json::object members, std::string_view ref = {});
  void error(std::string_view text, std::string_view ref);

 private:
  PhoneObserver& observer_;
};

}  // namespace tunevale::phone
