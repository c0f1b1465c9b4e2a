#pragma once

#include <string>

#include "host/DefaultsFile.h"
#include "host/ImageCodecs.h"
#include "host/LocalNotificationCenter.h"
#include "host/PosixFiles.h"
#include "host/UnicodeCase.h"
#include "platform/Platform.h"

namespace tunevale::host {

class HomeFolder;

/// This machine's side of a Platform. It outlives every platform made of it; home, main queue and log outlive
/// it.
class Services {
 public:
  Services(const HomeFolder& home, MainQueue& mainQueue, Log& log);
  /// The services around a session, which may well have been made with some of them.
  Platform makePlatform(PhoneSession& session);

  LocalNotificationCenter notificationCenter;
  DefaultsFile defaults;
  PosixFiles files;
  ImageCodecs imageCodecs;
  UnicodeCase letterCase;

 private:
  const std::string home_;
  MainQueue& mainQueue_;
  Log& log_;
};

}  // namespace tunevale::host
