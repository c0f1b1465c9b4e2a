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
  bool syslog = false;
  bool help = false;
  bool version = false;
};

extern const char* const kWatchUsage;

/// Throws UsageError for a command line that cannot be followed.
WatchOptions readWatchOptions(int count, const char* const* words);

}  // namespace tunevale
