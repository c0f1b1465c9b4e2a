#pragma once

#include <string>
#include <string_view>

#include "phone/Events.h"
#include "phone/PhoneApp.h"
#include "phone/PhoneState.h"
#include "phone/Pushes.h"
#include "phone/Traffic.h"

namespace tunevale::phone {

class CommandReader;

/// Obeys scripts and the console. A command that is wrong in any way does nothing at all.
class Commands {
 public:
  Commands(PhoneState& state, Pushes& pushes, Traffic& traffic, Events& events, WatchLink& link,
           PhoneObserver& observer)
      : state_(state),
        pushes_(pushes),
        traffic_(traffic),
        events_(events),
        link_(link),
        observer_(observer) {}

  /// One line of JSON.
  void obey(std::string_view line, Origin origin);

 private:
  /// Reads the rest of a command and gives what is to be done.
  using Deed = std::function<void()>;
  Deed deed(const std::string& name, CommandReader& reader, Origin origin);
  Deed sending(const std::string& name, CommandReader& reader, Origin origin);
  Deed sendingFile(CommandReader& reader, Origin origin, Label label);
  Deed pushing(const std::string& name, CommandReader& reader);
  Deed playing(const std::string& name, CommandReader& reader);
  Deed switching(CommandReader& reader);
  Deed caching(CommandReader& reader);
  Deed pairing(const std::string& name, CommandReader& reader);
  /// A deed that counts as done by the phone's owner.
  Deed player(void (Player::*operation)());

  PhoneState& state_;
  Pushes& pushes_;
  Traffic& traffic_;
  Events& events_;
  WatchLink& link_;
  PhoneObserver& observer_;
};

}  // namespace tunevale::phone
