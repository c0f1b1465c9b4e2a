#pragma once

#include <optional>
#include <string>

#include "http/Address.h"
#include "link/PairingAddress.h"
#include "phone/PhoneSettings.h"

namespace tunevale {

/// What the command line of tunevale-phone asks for.
struct PhoneProgramOptions {
  std::string home;  // empty: the user's data directory
  std::optional<link::PairingAddress> pair;
  http::Address link{"127.0.0.1", 8421};
  std::optional<http::Address> console;
  phone::PhoneSettings settings;
  bool help = false;
  bool version = false;
};

extern const char* const kPhoneUsage;

/// Throws UsageError for a command line that cannot be followed.
PhoneProgramOptions readPhoneProgramOptions(int count, const char* const* words);

}  // namespace tunevale
