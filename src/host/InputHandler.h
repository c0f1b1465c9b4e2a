#pragma once

#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "host/ElementLookup.h"

namespace tunevale {
class WKInterfaceTable;
}

namespace tunevale::host {

class Navigation;

/// What became of an input.
struct InputOutcome {
  enum class Kind { done, malformed, refused };
  Kind kind = Kind::done;
  std::string why;  // of what was not done
};

/// Turns what a person did, as JSON (docs/display-api.md lists the inputs), into what the screen is told of
/// it. Main queue.
class InputHandler {
 public:
  explicit InputHandler(Navigation& navigation) : navigation_(navigation) {}
  /// Any bytes may come. The effect, as far as it needs nobody else, has happened on return.
  InputOutcome handle(std::string_view text);

 private:
  using Value = boost::json::value;
  void dispatch(std::string_view name, const Value& value);
  void tap(const Value& value);
  void select(const Value& value);
  void pick(const Value& value);
  void crown(const Value& value);
  void page(const Value& value);
  void back(const Value& value);
  void alert(const Value& value);
  void foreground(const Value& value);
  WKInterfaceTable& table(const Value& members);
  static std::size_t rowOf(const Value& members, const WKInterfaceTable& table);

  Navigation& navigation_;
};

}  // namespace tunevale::host
