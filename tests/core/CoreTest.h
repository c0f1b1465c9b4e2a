#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
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

/// The real defaults, which also tell the order of what is stored, and can be made to fail for one key.
class TracedDefaults : public UserDefaults {
 public:
  TracedDefaults(UserDefaults& real, Trace& trace) : real_(real), trace_(trace) {}
  std::optional<PlistValue> objectForKey(std::string_view key) override { return real_.objectForKey(key); }
  bool setObject(std::optional<PlistValue> value, std::string_view key) override {
    if (key == failingKey) throw std::runtime_error("no room");
    trace_.push_back((value ? "store " : "remove ") + std::string(key));
    return real_.setObject(std::move(value), key);
  }
  void synchronize() override { real_.synchronize(); }
  bool synchronizeAndWait() override {
    trace_.push_back("synchronize");
    return real_.synchronizeAndWait() && diskTakesIt;
  }
  std::string failingKey;
  bool diskTakesIt = true;

 private:
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
        posted.push_back(notification);
      });
    }
  }

  Trace takeTrace() { return std::exchange(trace, {}); }
  /// Lets everything come to rest and gives what was announced since the last call.
  std::vector<Notification> settle() {
    world.settle();
    return std::exchange(posted, {});
  }
  PlistValue stored(std::string_view key) { return defaults.objectForKey(key).value_or(PlistValue()); }
  RadioManager& radio() { return RadioManager::sharedManager(platform); }
  std::string directory() const { return artworkDirectory(platform.homeDirectory); }
  ScriptedPhone::DataAnswer deliverData(const PlistValue& payload) {
    return phone.deliverMessageData(archivedDataWithRootObject(payload));
  }

  World world;
  Trace trace;
  TracedDefaults defaults{world.platform.standardUserDefaults, trace};
  ScriptedPhone& phone = world.phone;
  Platform platform{world.mainQueue,
                    world.platform.defaultCenter,
                    defaults,
                    world.platform.fileManager,
                    world.platform.imageCodec,
                    world.platform.letterCase,
                    world.log,
                    phone,
                    world.platform.homeDirectory,
                    world.platform.makeSerialQueue,
                    world.platform.makeImageCache};
  ExtensionDelegate delegate{platform};
  std::vector<Notification> posted;
  std::shared_ptr<int> observer = std::make_shared<int>();
};

}  // namespace tunevale::test
