#include "host/Services.h"

#include "host/ByteBudgetImageCache.h"
#include "host/HomeFolder.h"
#include "host/ImageLimits.h"
#include "host/ThreadQueue.h"

namespace tunevale::host {

Services::Services(const HomeFolder& home, MainQueue& mainQueue, Log& log)
    : defaults(home.defaultsPath(), log), home_(home.path()), mainQueue_(mainQueue), log_(log) {}

Platform Services::makePlatform(PhoneSession& session) {
  return {
      .mainQueue = mainQueue_,
      .defaultCenter = notificationCenter,
      .standardUserDefaults = defaults,
      .fileManager = files,
      .imageCodec = imageCodecs,
      .letterCase = letterCase,
      .log = log_,
      .defaultSession = session,
      .homeDirectory = home_,
      .makeSerialQueue = [](const std::string& label) { return std::make_unique<ThreadQueue>(label); },
      .makeImageCache = [] { return std::make_shared<ByteBudgetImageCache>(kImageCacheBytes); },
  };
}

}  // namespace tunevale::host
