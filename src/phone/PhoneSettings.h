#pragma once

#include <string>

namespace tunevale::phone {

/// What the phone is like when it is switched on.
struct PhoneSettings {
  std::string language = "english";  // of the chart: one of catalogueLanguages()
  int volume = 6;                    // 0 to 10
  bool queued = true;  // starts with the chart in the queue, paused; otherwise with an empty one
  bool pushes = true;  // sends of its own accord what a watch should have
};

/// How the phone behaves towards the watch. docs/phone.md tells what each does.
struct Switches {
  bool locked = false;
  bool reachable = true;
  bool silent = false;
  bool failing = false;
  bool pushes = true;
  std::string refuse;  // the words; empty: does not refuse

  friend bool operator==(const Switches&, const Switches&) = default;
};

}  // namespace tunevale::phone
