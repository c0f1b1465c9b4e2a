#pragma once

#include <memory>
#include <string>

#include "link/Strand.h"
#include "phone/Commands.h"
#include "phone/Events.h"
#include "phone/PhoneState.h"
#include "phone/Pushes.h"
#include "phone/Requests.h"
#include "phone/Traffic.h"

namespace tunevale::phone {

/// The phone's parts, wired up.
class PhoneCore {
 public:
  PhoneCore(link::Strand& strand, WatchLink& link, PhoneObserver& observer, const PhoneSettings& settings);

  /// Brings the player up to the present. Before anything looks at it.
  void catchUp() { state.player.advance(); }
  /// Sends what is wanted, sets the clock for the end of the song, tells of changes. After everything that
  /// may have changed something.
  void settle();

  PhoneState state;
  Events events;
  Traffic traffic;
  Pushes pushes;
  Requests requests;
  Commands commands;

 private:
  void armSongTimer();

  link::Strand& strand_;
  PhoneObserver& observer_;
  std::unique_ptr<link::Timer> songTimer_;
  std::string toldState_;
  std::uint64_t toldTraffic_ = 0;
};

}  // namespace tunevale::phone
