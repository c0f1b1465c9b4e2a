#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "radio/RadioManager.h"
#include "support/Pictures.h"
#include "support/World.h"
#include "util/ArtworkPath.h"
#include "util/WrongKinds.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale::test {
namespace {

PlistArray stations(const char* title) {
  return PlistArray{PlistDictionary{{"title", title}}};
}

struct RadioManagerTest : ::testing::Test {
  void restart() {
    const auto folder = world->folder;
    world.reset();
    world = std::make_unique<World>(folder);
  }
  RadioManager& radio() { return RadioManager::sharedManager(world->platform); }
  UserDefaults& defaults() { return world->platform.standardUserDefaults; }
  void makeDirectory() {
    world->platform.fileManager.createDirectoryAtPath(artworkDirectory(world->platform.homeDirectory));
  }
  std::pair<PlistArray, PlistArray> lists() {
    return {radio().getFeaturedStations(), radio().getArtistStations()};
  }
  void update(const PlistValue& value) { radio().updateRadioInfo(&value); }
  PlistValue stored() {
    const auto bytes = defaults().objectForKey(kReceiveRadioStations);
    return unarchiveObjectWithData(valueOrNull(bytes)).value_or(PlistValue());
  }

  std::unique_ptr<World> world = std::make_unique<World>();
};

TEST_F(RadioManagerTest, StoredListsComeBackWhileTheArtworkIsThere) {
  const PlistDictionary all{{"featured", stations("F")}, {"artist", stations("A")}, {"other", 1}};
  update(all);
  const PlistArray handedOut = radio().getArtistStations();
  EXPECT_EQ(handedOut.identity(), radio().getArtistStations().identity());
  EXPECT_EQ(stored(), PlistValue(all));
  restart();
  radio().loadRadioData();  // there is no artwork
  makeDirectory();
  EXPECT_EQ(lists(), std::pair(PlistArray(), PlistArray()));
  radio().loadRadioData();
  EXPECT_EQ(lists(), std::pair(stations("F"), handedOut));

  // An empty list is stored, but does not replace the one in memory.
  const PlistDictionary next{{"featured", PlistArray()}, {"artist", stations("B")}};
  update(next);
  EXPECT_EQ(lists(), std::pair(stations("F"), stations("B")));
  EXPECT_EQ(handedOut, stations("A"));
  EXPECT_EQ(stored(), PlistValue(next));
  update(PlistDictionary{{"neither", 1}});
  EXPECT_EQ(radio().getArtistStations(), stations("B"));
  restart();
  radio().loadRadioData();
  EXPECT_EQ(lists(), std::pair(PlistArray(), PlistArray()));
}

TEST_F(RadioManagerTest, WhatIsNoDictionaryChangesNothing) {
  const PlistDictionary good{{"featured", stations("F")}};
  makeDirectory();
  for (const PlistValue& odd : oneOfEachKind()) {
    defaults().setObject(PlistValue(archivedDataWithRootObject(odd)), kReceiveRadioStations);
    radio().loadRadioData();
  }
  EXPECT_EQ(lists(), std::pair(PlistArray(), PlistArray()));
  update(good);
  radio().updateRadioInfo(nullptr);
  update(PlistDictionary());
  update(PlistValue(archivedDataWithRootObject(PlistDictionary{{"featured", stations("X")}})));
  EXPECT_EQ(radio().getFeaturedStations(), stations("F"));
  EXPECT_EQ(stored(), PlistValue(good));
}

TEST_F(RadioManagerTest, AnImageIsThereWhenItIsAnnouncedAndUntilAPurgeWhichLeavesTheStoredCopy) {
  const PlistDictionary all{{"featured", stations("F")}, {"artist", stations("A")}};
  const auto observer = std::make_shared<int>();
  const ImagePtr first = picture(2, 2, 1), second = picture(2, 2, 2);
  std::vector<ImagePtr> seen;
  world->platform.defaultCenter.addObserver(
      observer, kNotificationFetchedRadioImage, [&](const Notification& notification) {
        EXPECT_FALSE(notification.userInfo);
        seen.push_back(radio().getCachedImageForRadioName("hits_IMAGE.PNG.png"));
      });
  update(all);
  radio().addImageToCache(nullptr, "x.png");
  radio().addImageToCache(first, "HITS_image.png.png");
  EXPECT_TRUE(seen.empty());
  world->settle();
  EXPECT_EQ(seen.size(), 1U);
  radio().addImageToCache(first, "HITS.png");
  radio().addImageToCache(second, "hits.png");
  EXPECT_EQ(radio().getCachedImageForRadioName("Hits.PNG"), second);
  EXPECT_EQ(radio().getCachedImageForRadioName("hits_image.png"), second);
  EXPECT_EQ(radio().getTotalCacheCount(), 3);  // a replacement counts again
  world->settle();
  EXPECT_EQ(seen.size(), 3U);

  radio().removeRadioData();
  EXPECT_EQ(lists(), std::pair(PlistArray(), PlistArray()));
  EXPECT_EQ(radio().getCachedImageForRadioName("hits.png"), nullptr);
  EXPECT_EQ(radio().getTotalCacheCount(), 0);
  EXPECT_EQ(stored(), PlistValue(all));
}

TEST_F(RadioManagerTest, ImageKeys) {
  const std::pair<const char*, const char*> keys[] = {
      {"hits.png", "Hits"}, {"a_image.png.png", "A_ima"}, {"Top_Hits_2_image.png", "Top_hits_2"},
      {"png", ""},          {"_image.png", ""},           {"a\U0001F3B5\U0001F3B5\U0001F3B5", "A\U0001F3B5"}};
  for (const auto& [name, key] : keys) {
    EXPECT_EQ(radio().getImageKey(name), key) << name;
  }
}

}  // namespace
}  // namespace tunevale::test
