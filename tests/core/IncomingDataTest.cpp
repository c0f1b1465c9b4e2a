#include <tuple>

#include "core/CoreTest.h"
#include "support/Pictures.h"

namespace tunevale::test {
namespace {

using IncomingData = CoreTest;

PlistDictionary song(const char* title) {
  return {{"title", title}, {"id", "1"}};
}

PlistArray marked(PlistArray songs) {
  for (std::size_t i = 0; i < songs.size(); ++i) {
    PlistDictionary copy = *songs.at(i)->dictionary();
    copy.set("source_view", "apple_watch");
    songs.set(i, copy);
  }
  return songs;
}

const PlistArray kSongs{song("a"), song("b")};
const PlistDictionary kChart{{"list", kSongs}, {"language", "Hindi"}, {"extra", 1}};
const PlistDictionary kChartReceived{{"request", "weekly_top_15"}, {"received", "success"}};
const PlistDictionary kStationsReceived{{"request", "radio_stations"}, {"received", "success"}};
const PlistDictionary kStations{{"featured", PlistArray{song("station")}}};
constexpr const char* kChartPosted = "post tunevaleWatch.playlist.weeklytop15.data";
constexpr const char* kPlayerPosted = "post tunevaleWatch.player.nowplayingchange";
constexpr const char* kVolumePosted = "post tunevaleWatch.device.volume";

TEST_F(IncomingData, MessagesAreAnsweredOnce) {
  deliverData(PlistDictionary{{"appPlaying", song("a")}});
  settle();
  const std::pair<PlistDictionary, const char*> cases[] = {
      {{{"request", "volume"}, {"value", 0.5}}, "success"},
      {{{"request", "volume"}}, "success"},
      {{{"request", "queue_empty"}}, "failed"},  // though it is handled
      {{{"request", "Volume"}}, "failed"},
      {{{"request", 3}}, "failed"},
      {{{"appPlaying", song("b")}}, "failed"},
      {{}, "failed"},
  };
  for (const auto& [message, expected] : cases) {
    const auto answer = phone.deliverMessage(message);
    EXPECT_EQ(answer->count, 1);
    EXPECT_EQ(answer->reply, (PlistDictionary{{"request", expected}}));
  }
  delegate.sessionDidReceiveMessage(phone, {}, nullptr);  // nobody to answer
  EXPECT_FALSE(delegate.isPlayingMedia());
  EXPECT_EQ(delegate.nowPlayingSong(), song("a"));
  const auto announced = settle();
  ASSERT_EQ(announced.size(), 2U);
  EXPECT_EQ(announced[1].userInfo, (PlistDictionary{{"status", "empty"}}));
}

TEST_F(IncomingData, AVolumeIsStoredBeforeItIsAnsweredAndAnnouncedAfter) {
  for (const PlistValue& volume : {PlistValue(0.25), PlistValue("loud")}) {
    delegate.sessionDidReceiveMessage(phone, {{"request", "volume"}, {"value", volume}},
                                      [this](const PlistDictionary&) { trace.push_back("answer"); });
    const auto announced = settle();
    EXPECT_EQ(takeTrace(), (Trace{"store volume", "synchronize", "answer", kVolumePosted}));
    EXPECT_EQ(stored("volume"), volume);
    ASSERT_EQ(announced.size(), 1U);
    EXPECT_EQ(announced[0].userInfo, (PlistDictionary{{"volume", volume}}));
  }
  phone.deliverMessage({{"request", "volume"}});
  phone.deliverMessage({{"request", "volume"}, {"value", PlistValue()}});
  EXPECT_TRUE(settle().empty());
  EXPECT_EQ(stored("volume"), PlistValue("loud"));
}

TEST_F(IncomingData, AChartIsStoredAcknowledgedAndAnnounced) {
  for (const bool asUserInfo : {false, true}) {
    defaults.setObject(std::nullopt, kUserLanguage);
    takeTrace();
    if (asUserInfo) {
      phone.deliverUserInfo({{"weekly_top_15", kChart}, {"radio_stations", "x"}});
    } else {
      EXPECT_EQ(deliverData(PlistDictionary{{"weekly_top_15", kChart}, {"radio_stations", kStations}})->count,
                0);
    }
    EXPECT_TRUE(posted.empty());
    const auto announced = settle();
    EXPECT_EQ(takeTrace(), (Trace{"store kUserLanguage", "store weekly_top_15", "store weekly_top_15_data",
                                  "synchronize", "send weekly_top_15", kChartPosted}));
    EXPECT_EQ(stored("kUserLanguage"), PlistValue("hindi"));
    EXPECT_EQ(stored("weekly_top_15"), PlistValue(marked(kSongs)));
    EXPECT_EQ(stored("weekly_top_15_data"), PlistValue(kChart));
    EXPECT_EQ(phone.takeMessages(), std::vector{kChartReceived});
    ASSERT_EQ(announced.size(), 1U);
    EXPECT_EQ(announced[0].userInfo, (PlistDictionary{{"dataSource", marked(kSongs)}}));
  }
  EXPECT_TRUE(radio().getFeaturedStations().empty());
}

TEST_F(IncomingData, AContextStoresTheSongsAsAnArchive) {
  const PlistDictionary context{{"weekly_top_15", archivedDataWithRootObject(kChart)},
                                {"cachedSongList", true},
                                {"pids", PlistArray{"1"}}};
  phone.deliverApplicationContext(context);
  const auto announced = settle();
  EXPECT_EQ(takeTrace(), (Trace{"store kUserLanguage", "store weekly_top_15_data", "synchronize",
                                "send weekly_top_15", kChartPosted}));
  const PlistValue data = stored("weekly_top_15_data");
  EXPECT_EQ(unarchiveObjectWithData(&data), PlistValue(marked(kSongs)));
  EXPECT_TRUE(stored("weekly_top_15").isNull());
  EXPECT_TRUE(stored("cached_list_pids").isNull());
  ASSERT_EQ(announced.size(), 1U);
  EXPECT_EQ(announced[0].userInfo, (PlistDictionary{{"dataSource", marked(kSongs)}}));
  defaults.failingKey = kReceiveWeeklyTop15Data;
  phone.deliverApplicationContext(context);
  settle();
  EXPECT_EQ(takeTrace(), (Trace{"send weekly_top_15", kChartPosted}));  // announced all the same
  ASSERT_EQ(world.log.lines().size(), 3U);
  EXPECT_TRUE(world.log.lines()[0].starts_with("applicationContext:{")) << world.log.lines()[0];
  EXPECT_EQ(world.log.lines()[2], "didReceiveApplicationContent desc:no room");
}

// A few songs that stand for 2 to the n values, as what is shared counts each time, in 20 KB.
PlistDictionary vastChart(int n) {
  PlistArray songs;
  PlistValue shared(1);
  for (int i = 2; i < n; ++i) {
    shared = PlistValue(PlistArray{shared, shared});
    songs.append(PlistDictionary{{"title", shared}});
  }
  return {{"list", songs}, {"language", "hindi"}, {"comment", std::string(20'000, 'x')}};
}

TEST_F(IncomingData, WhatCannotBeKeptIsShownButNotAcknowledged) {
  deliverData(PlistDictionary{{"weekly_top_15", kChart}});
  phone.deliverMessage({{"request", "volume"}, {"value", 0.5}});
  settle();
  phone.takeMessages();
  for (const bool tooLarge : {true, false}) {
    const PlistDictionary payload{{"weekly_top_15", tooLarge ? vastChart(18) : kChart}};
    defaults.diskTakesIt = tooLarge;
    deliverData(payload);
    phone.deliverUserInfo(payload);
    const PlistValue volume = tooLarge ? PlistValue(payload) : PlistValue(0.5);
    const auto answer = phone.deliverMessage({{"request", "volume"}, {"value", volume}});
    EXPECT_EQ(answer->reply, (PlistDictionary{{"request", "failed"}}));
    EXPECT_EQ(settle().size(), 3U);
    EXPECT_TRUE(phone.takeMessages().empty());
    // A context is acknowledged even so.
    const Bytes chart = archivedDataWithRootObject(tooLarge ? vastChart(20) : kChart);
    phone.deliverApplicationContext({{"weekly_top_15", chart}});
    EXPECT_TRUE(world.log.lines().back().starts_with("didReceiveApplicationContent desc:"));
    EXPECT_EQ(settle().size(), 1U);
    EXPECT_EQ(phone.takeMessages(), std::vector{kChartReceived});
    EXPECT_EQ(stored("volume"), PlistValue(0.5));
    if (!tooLarge) continue;
    EXPECT_EQ(stored("weekly_top_15"), PlistValue(marked(kSongs)));
    EXPECT_EQ(stored("weekly_top_15_data"), PlistValue(kChart));
  }
}

TEST_F(IncomingData, AContextBringsTheCachedSongs) {
  phone.deliverApplicationContext({{"cachedSongList", PlistValue()}, {"pids", "odd"}});
  phone.deliverApplicationContext({{"pids", PlistArray()}});
  phone.deliverApplicationContext({{"cachedSongList", 1}, {"weekly_top_15", "unusable"}});
  EXPECT_EQ(stored("cached_list_pids"), PlistValue("odd"));
  phone.deliverApplicationContext({{"cachedSongList", 1}});
  EXPECT_TRUE(stored("cached_list_pids").isNull());
  phone.deliverApplicationContext({{"radio_stations", kStations}, {"appPlaying", song("a")}, {"volume", 1}});
  EXPECT_TRUE(phone.sentMessages().empty());
  EXPECT_TRUE(settle().empty());
  EXPECT_FALSE(delegate.isPlayingMedia());
  EXPECT_TRUE(radio().getFeaturedStations().empty());
}

TEST_F(IncomingData, TheChartsLanguageIsFollowed) {
  const PlistDictionary tamilSong{{"title", "t"}, {"language", "TAMIL"}};
  const PlistValue hindi(PlistDictionary{{"list", kSongs}, {"language", "Hindi"}});
  const auto chartOf = [](const PlistArray& list, const PlistValue& language) {
    return PlistValue(PlistDictionary{{"list", list}, {"language", language}});
  };
  struct Case {
    PlistValue before;
    PlistValue chart;
    PlistValue after;
    bool purges;
  };
  const Case cases[] = {
      {"english", hindi, "hindi", true},
      {"hindi", hindi, "hindi", false},
      {"Hindi", hindi, "hindi", true},  // the stored one is taken as it stands
      {PlistValue(), hindi, "hindi", false},
      {"", hindi, "hindi", false},
      {7, hindi, "hindi", false},
      {"hindi", PlistDictionary{{"list", PlistArray{tamilSong}}}, "tamil", true},
      {"hindi", chartOf({tamilSong}, ""), "tamil", true},
      {"hindi", chartOf({song("a"), tamilSong}, 4), "hindi", false},
      {"hindi", chartOf({tamilSong}, "\u00C9T\u00C9"), "\u00E9t\u00E9", true},
  };
  for (const Case& c : cases) {
    platform.fileManager.createDirectoryAtPath(directory());
    radio().addImageToCache(picture(1, 1), "x.png");
    defaults.setObject(c.before, kUserLanguage);
    settle();
    takeTrace();
    deliverData(PlistDictionary{{"weekly_top_15", c.chart}});
    settle();
    Trace expected{"store weekly_top_15", "store weekly_top_15_data", "synchronize", "send weekly_top_15",
                   kChartPosted};
    if (c.purges) expected.insert(expected.begin(), "send watch_purged_cache");
    if (c.before != c.after) expected.insert(expected.begin(), "store kUserLanguage");
    EXPECT_EQ(takeTrace(), expected);
    EXPECT_EQ(stored("kUserLanguage"), c.after);
    EXPECT_EQ(platform.fileManager.fileExistsAtPath(directory()), !c.purges);
    EXPECT_EQ(radio().getTotalCacheCount() == 0, c.purges);
  }
  EXPECT_TRUE(world.log.lines().empty());
}

TEST_F(IncomingData, UnusableChartsAreNotTakenNorIsWhatIsNoSong) {
  PlistDictionary failed = kChart;
  failed.set("error", PlistValue());
  const PlistValue unusable[] = {failed,
                                 PlistDictionary{{"language", "Tamil"}},
                                 PlistDictionary{{"list", PlistArray()}},
                                 PlistDictionary{{"list", "x"}, {"language", "Tamil"}},
                                 PlistDictionary{{"list", PlistArray{1, "x"}}},
                                 PlistDictionary(),
                                 "x"};
  for (const PlistValue& chart : unusable) {
    deliverData(PlistDictionary{{"weekly_top_15", chart}, {"radio_stations", kStations}});
    // What is no record at all gives way to the stations here, and only here.
    if (WatchUtil::isNonEmptyDictionary(&chart)) phone.deliverUserInfo({{"weekly_top_15", chart}});
    phone.deliverApplicationContext(
        {{"weekly_top_15", archivedDataWithRootObject(chart)}, {"cachedSongList", 1}, {"pids", "x"}});
    EXPECT_TRUE(settle().empty());
    EXPECT_EQ(takeTrace(), Trace{});
  }
  EXPECT_TRUE(radio().getFeaturedStations().empty());
  deliverData(PlistDictionary{
      {"weekly_top_15", PlistDictionary{{"list", PlistArray{"x", song("a"), PlistValue()}}}}});
  EXPECT_EQ(stored("weekly_top_15"), PlistValue(marked(PlistArray{song("a")})));
}

TEST_F(IncomingData, StationsByDataReachTheStoreAndThoseByUserInfoOnlyTheirAcknowledgement) {
  const PlistValue archive(archivedDataWithRootObject(kStations));
  const PlistDictionary infos[] = {
      {{"radio_stations", archive}},
      {{"radio_stations", kStations}},
      {{"weekly_top_15", "unusable"}},
      {{"weekly_top_15", PlistDictionary()}, {"appPlaying", song("a")}, {"volume", 1}}};
  for (const PlistDictionary& info : infos) {
    phone.deliverUserInfo(info);
    EXPECT_EQ(phone.takeMessages(), std::vector{kStationsReceived});
  }
  phone.deliverUserInfo({});
  deliverData(PlistDictionary{{"radio_stations", archive}, {"appPlaying", song("a")}});
  deliverData(PlistDictionary{{"radio_stations", PlistDictionary()}});
  EXPECT_TRUE(phone.takeMessages().empty());
  EXPECT_TRUE(settle().empty());
  EXPECT_TRUE(radio().getFeaturedStations().empty());
  EXPECT_TRUE(stored("radio_stations").isNull() && stored("volume").isNull());

  deliverData(PlistDictionary{{"radio_stations", kStations}, {"appPlaying", song("a")}});
  EXPECT_EQ(radio().getFeaturedStations(), PlistArray{song("station")});
  EXPECT_EQ(phone.takeMessages(), std::vector{kStationsReceived});
  EXPECT_FALSE(delegate.isPlayingMedia());
}

TEST_F(IncomingData, OnlyChangesOfThePlayStateAreAnnounced) {
  PlistDictionary sameName = song("a");
  sameName.set("id", "2");
  const std::tuple<const char*, PlistValue, const char*> cases[] = {
      {"appPaused", PlistDictionary{{"id", "9"}}, nullptr},  // as nameless and as quiet as the start
      {"appPlaying", song("a"), "playing"},
      {"appPlaying", sameName, nullptr},
      {"appPaused", song("a"), "paused"},
      {"appPaused", song("a"), nullptr},
      {"appPaused", song("b"), "paused"},
      {"appPlaying", "no record", "playing"},
      {"appPlaying", PlistValue(), nullptr}};
  for (const auto& [key, song, status] : cases) {
    const auto before = delegate.nowPlayingSong();
    EXPECT_EQ(deliverData(PlistDictionary{{key, song}})->count, 0);
    const auto announced = settle();
    ASSERT_EQ(announced.size(), status == nullptr ? 0U : 1U);
    const auto taken = status == nullptr ? before : WatchUtil::dictionaryOrEmpty(&song);
    EXPECT_EQ(delegate.nowPlayingSong(), taken);
    if (status == nullptr) continue;
    EXPECT_EQ(announced[0].userInfo, (PlistDictionary{{"status", status}, {"data", *taken}}));
    EXPECT_EQ(delegate.isPlayingMedia(), std::string_view(status) == "playing");
  }
}

TEST_F(IncomingData, AVolumeComesOnlyWithSomethingNewThatPlays) {
  deliverData(PlistDictionary{{"appPaused", song("a")}, {"appPlaying", song("a")}, {"volume", 0.5}});
  settle();
  EXPECT_EQ(takeTrace(), (Trace{"store volume", "synchronize", kPlayerPosted, kVolumePosted}));
  deliverData(PlistDictionary{{"appPlaying", song("a")}, {"volume", 0.6}});
  deliverData(PlistDictionary{{"appPaused", song("a")}, {"volume", 0.7}});
  deliverData(PlistDictionary{{"appPlaying", song("b")}, {"volume", "0.8"}});
  settle();
  EXPECT_EQ(takeTrace(), (Trace{kPlayerPosted, kPlayerPosted}));
  EXPECT_EQ(stored("volume"), PlistValue(0.5));
}

TEST_F(IncomingData, AnAnnouncementTellsTheSongOfItsMomentAndDoesNotNeedTheDelegate) {
  auto brief = std::make_unique<ExtensionDelegate>(platform);
  phone.setDelegate(brief.get());
  deliverData(PlistDictionary{{"appPlaying", song("a")}});
  deliverData(PlistDictionary{{"appPaused", song("b")}});
  auto announced = settle();
  ASSERT_EQ(announced.size(), 2U);
  EXPECT_EQ(announced[0].userInfo, (PlistDictionary{{"status", "playing"}, {"data", song("b")}}));
  EXPECT_EQ(announced[1].userInfo, (PlistDictionary{{"status", "paused"}, {"data", song("b")}}));
  // A report whose song was cleared meanwhile is not lost.
  deliverData(PlistDictionary{{"appPlaying", song("c")}, {"volume", 1}});
  brief->setNowPlayingSong(std::nullopt);
  phone.completeActivation();
  brief.reset();
  phone.reply(phone.lastMessage(), {});
  announced = settle();
  ASSERT_EQ(announced.size(), 2U);
  EXPECT_EQ(announced[0].userInfo, (PlistDictionary{{"status", "playing"}, {"data", song("c")}}));
}

}  // namespace
}  // namespace tunevale::test
