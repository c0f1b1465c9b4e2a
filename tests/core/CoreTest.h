#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/ExtensionDelegate.h"
#include "foundation/KeyedArchive.h"
#include "radio/RadioManager.h"
#include "support/World.h"
#include "util/ArtworkPath.h"
#include "util/ValueChecks.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale::test {

using Trace = std::vector<std::string>;

/// The real defaults, which also tell the order of what is stored; and may refuse it, or their disk be full.
struct TracedDefaults : UserDefaults {
  TracedDefaults(UserDefaults& real, Trace& trace) : real_(real), trace_(trace) {}
  std::optional<PlistValue> objectForKey(std::string_view key) override { return real_.objectForKey(key); }
  bool setObject(std::optional<PlistValue> value, std::string_view key) override {
    trace_.push_back((value ? "store " : "remove ") + std::string(key));
    return takesIt && real_.setObject(std::move(value), key);
  }
  void synchronize() override { real_.synchronize(); }
  bool synchronizeAndWait() override {
    trace_.push_back("synchronize");
    return real_.synchronizeAndWait() && diskTakesIt;
  }

  bool takesIt = true, diskTakesIt = true;
  UserDefaults& real_;
  Trace& trace_;
};

/// A delegate in a fresh world, its session set but not activated, and all that it does in its order.
struct CoreTest : ::testing::Test {
  CoreTest() {
    platform.sharedExtension.setDelegate(&delegate);
    phone.setDelegate(&delegate);
    phone.onSend = [this](const PlistDictionary& message) {
      trace.push_back("send " + std::string(WatchUtil::stringOrEmpty(message.find("request"))));
    };
    for (const std::string_view name :
         {kNotificationFetchedWeeklyTop15Data, kNotificationFetchedNowPlayingData,
          kNotificationFetchedNowPlayingImage, kNotificationFetchedPlaylistImage,
          kNotificationFetchedRadioImage, kNotificationFetchedDeviceVolume}) {
      platform.defaultCenter.addObserver(observer, name, [this](const Notification& notification) {
        trace.push_back("post " + notification.name.substr(notification.name.find('.') + 1));
        posted.append(notification.userInfo ? PlistValue(*notification.userInfo) : PlistValue());
      });
    }
  }

  Trace takeTrace() { return std::exchange(trace, {}); }
  /// What was done until everything came to rest.
  Trace settledTrace() {
    settle();
    return takeTrace();
  }
  /// Lets everything come to rest and gives the user infos of what was announced since the last call.
  PlistArray settle() {
    world.settle();
    return std::exchange(posted, {});
  }
  PlistValue stored(std::string_view key) { return defaults.objectForKey(key).value_or(PlistValue()); }
  RadioManager& radio() { return RadioManager::sharedManager(platform); }
  std::string directory() const { return artworkDirectory(platform.homeDirectory); }
  ScriptedPhone::DataAnswer deliverData(const PlistDictionary& payload) {
    return phone.deliverMessageData(archivedDataWithRootObject(payload));
  }

  World world;
  Trace trace;
  TracedDefaults defaults{world.platform.standardUserDefaults, trace};
  ScriptedPhone& phone = world.phone;
  Platform& real = world.platform;
  Platform platform{world.mainQueue,    real.defaultCenter,   defaults,           real.fileManager,
                    real.imageCodec,    real.letterCase,      world.log,          phone,
                    real.homeDirectory, real.makeSerialQueue, real.makeImageCache};
  ExtensionDelegate delegate{platform};
  PlistArray posted;
  std::shared_ptr<int> observer = std::make_shared<int>();
};

}  // namespace tunevale::test
