#include "core/CoreTest.h"
#include "support/Pictures.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

using WrongKindSweep = CoreTest;

/// Every key that the phone may send, at its place in its payload, with one value of each kind: nothing
/// breaks, messages get their one answer, and what a good phone sent before stays readable.
TEST_F(WrongKindSweep, EveryKeyOfEveryPayload) {
  const PlistDictionary song{{"title", "a"}, {"language", "hindi"}};
  const PlistDictionary chart{{"list", PlistArray{song}}, {"language", "hindi"}};
  const PlistDictionary stations{{"featured", PlistArray{song}}};
  const auto goodPhone = [&] {
    deliverData(PlistDictionary{{"weekly_top_15", chart}});
    deliverData(PlistDictionary{{"radio_stations", stations}});
    deliverData(PlistDictionary{{"appPaused", PlistDictionary()}});
    deliverData(PlistDictionary{{"appPlaying", song}});
    EXPECT_EQ(stored(kReceiveWeeklyTop15Data), PlistValue(chart));
    EXPECT_EQ(stored(kUserLanguage), PlistValue("hindi"));
    EXPECT_EQ(radio().getFeaturedStations(), PlistArray{song});
    EXPECT_EQ(delegate.nowPlayingSong(), song);
  };
  const auto check = [&] {
    settle();
    const PlistValue songs = stored(kReceiveWeeklyTop15);
    EXPECT_TRUE(WatchUtil::isNonEmptyArray(&songs));
    for (const PlistValue& one : WatchUtil::arrayOrEmpty(&songs)) EXPECT_NE(one.dictionary(), nullptr);
    const PlistValue language = stored(kUserLanguage);
    EXPECT_TRUE(WatchUtil::isNonEmptyString(&language));
  };
  goodPhone();

  const std::string file = world.folder->path("arrived");
  ASSERT_FALSE(platform.fileManager.writeAtomically(pngPicture(2, 2), file));
  for (const PlistValue& odd : oneOfEachKind()) {
    for (const char* key : {"request", "value"}) {
      PlistDictionary message{{"request", "volume"}, {"value", 1}};
      message.set(key, odd);
      const auto answer = phone.deliverMessage(message);
      EXPECT_EQ(answer->count, 1);
      EXPECT_EQ(answer->reply->size(), 1U);
    }

    std::vector<PlistDictionary> charts;
    for (const char* key : {"list", "language", "error"}) {
      charts.push_back(chart);
      charts.back().set(key, odd);
    }
    charts.push_back({{"list", PlistArray{odd, song}}});
    charts.push_back({{"list", PlistArray{PlistDictionary{{"language", odd}}}}});
    std::vector<PlistValue> payloads{odd};
    for (const char* key : {"weekly_top_15", "radio_stations", "appPlaying", "appPaused", "volume"}) {
      payloads.emplace_back(PlistDictionary{{key, odd}});
      payloads.emplace_back(PlistDictionary{{"appPlaying", PlistDictionary{{"title", odd}}}, {key, odd}});
    }
    for (const char* key : {"featured", "artist"}) {
      payloads.emplace_back(PlistDictionary{{"radio_stations", PlistDictionary{{key, odd}}}});
    }
    for (const PlistDictionary& one : charts) payloads.emplace_back(PlistDictionary{{"weekly_top_15", one}});
    for (const PlistValue& payload : payloads) {
      EXPECT_EQ(deliverData(payload)->count, 0);
      if (const PlistDictionary* dictionary = payload.dictionary()) {
        phone.deliverUserInfo(*dictionary);
        phone.deliverApplicationContext(*dictionary);
        phone.deliverFile(file, *dictionary);
      }
      check();
    }
    if (odd.bytes()) {
      EXPECT_EQ(phone.deliverMessageData(*odd.bytes())->count, 0);
    }
    for (const PlistDictionary& one : charts) {
      phone.deliverApplicationContext({{"weekly_top_15", archivedDataWithRootObject(one)}});
    }
    phone.deliverApplicationContext({{"cachedSongList", odd}, {"pids", odd}});

    phone.deliverFile(file, {{"radio_image", odd}, {"radio_title", "t"}});
    phone.deliverFile(file, {{"radio_image", "1"}, {"radio_title", odd}});
    phone.deliverFile(file, {{"playlist_image", odd}, {"image_name", "n"}});
    phone.deliverFile(file, {{"playlist_image", "1"}, {"image_name", odd}});
    check();
    goodPhone();
  }
}

}  // namespace
}  // namespace tunevale::test
