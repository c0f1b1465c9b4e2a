#pragma once

#include <string>

#include "http/Address.h"

namespace tunevale {

/// What the command line of tunevale-watch asks for.
struct WatchOptions {
  std::string home;  // empty: the user's data directory
  http::Address display{"127.0.0.1", 8420};
  http::Address link{"127.0.0.1", 8421};
  bool demo = true;
  bool pair = false;          // opens the window at once, and asks in the terminal
  bool pairingToken = false;  // opens it for one phone that has the printed address
  std::string record;         // a file for what goes over the link; empty: none
  std::string replay;         // a recording in the place of a phone; empty: none
  double replaySpeed = 1;     // 0: without pauses
  bool syslog = false;
  bool help = false;
  bool version = false;
};

extern const char* const kWatchUsage;

/// Throws UsageError for a command line that cannot be followed.
WatchOptions readWatchOptions(int count, const char* const* words);

}  // namespace tunevale
