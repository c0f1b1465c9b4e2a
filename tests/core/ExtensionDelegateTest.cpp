#include <stdexcept>
#include <tuple>

#include "core/CoreTest.h"
#include "core/WKExtensionMain.h"
#include "support/Pictures.h"

namespace tunevale::test {
namespace {

using Lifecycle = CoreTest;

TEST_F(Lifecycle, LaunchActivatesTheSessionAndLoadsTheStations) {
  const PlistArray stations{PlistDictionary{{"title", "F"}}};
  ASSERT_FALSE(platform.fileManager.createDirectoryAtPath(directory()));
  const Bytes copy = archivedDataWithRootObject(PlistDictionary{{"featured", stations}});
  for (const bool supported : {true, false}) {
    radio().removeRadioData();
    defaults.setObject(PlistValue(copy), kReceiveRadioStations);
    phone.setSupported(supported);
    phone.setDelegate(nullptr);
    delegate.applicationDidFinishLaunching();
    EXPECT_EQ(radio().getFeaturedStations(), stations);
    EXPECT_EQ(phone.activations(), 1);  // the first time only
    EXPECT_TRUE(!supported || &phone.delegate() == &delegate);
  }
  EXPECT_THROW(phone.delegate(), std::logic_error);
  EXPECT_TRUE(phone.sentMessages().empty());
  EXPECT_NE(WKExtensionMain(0, nullptr, {}), 0) << "there is nothing to run";
}

TEST_F(Lifecycle, EveryChangeOfGroundIsToldAndEveryBackgroundTaskCompleted) {
  phone.setReachable(false);
  delegate.applicationWillEnterForeground();
  delegate.applicationDidEnterBackground();
  EXPECT_EQ(takeTrace(), (Trace{"send app:foreground", "send app:background"}));
  const auto snapshot = std::make_shared<WKSnapshotRefreshBackgroundTask>();
  const auto other = std::make_shared<WKURLSessionRefreshBackgroundTask>();
  delegate.handleBackgroundTasks({other, nullptr, snapshot});
  EXPECT_TRUE(other->isCompleted() && snapshot->isCompleted());
  ASSERT_TRUE(snapshot->completion());
  EXPECT_TRUE(snapshot->completion()->defaultStateRestored);
  EXPECT_EQ(snapshot->completion()->estimatedSnapshotExpiration, kDistantFuture);
  EXPECT_FALSE(snapshot->completion()->userInfo);
}

TEST_F(Lifecycle, GreetsThePhoneOnceActivated) {
  phone.completeActivation(ActivationState::inactive);
  phone.completeActivation(ActivationState::notActivated, SessionError{7005, "not paired"});
  EXPECT_TRUE(phone.sentMessages().empty());
  EXPECT_EQ(phone.activations(), 0);

  for (int i = 0; i < 2; ++i) phone.completeActivation();
  phone.completeActivation(ActivationState::activated, SessionError{7001, "late\nstart"});
  EXPECT_EQ(takeTrace(), Trace(3, "send Hello"));
  phone.reply(0, {{"ok", 1}});
  phone.fail(1, {7007, "the phone is not there"});
  phone.fail(2, {7007, "the phone is not there"});
  settle();
  const auto lines = world.log.lines();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "Launching app launch successful{ok = 1; }");
  // how the activation went, not why the greeting failed
  EXPECT_EQ(lines[1], "Unable to launch or wake up phone app: (null)");
  EXPECT_TRUE(lines[2].starts_with("Unable to launch or wake up phone app: late")) << lines[2];
}

using IncomingData = CoreTest;

PlistDictionary song(const char* title, const char* id = "1") {
  return {{"title", title}, {"id", id}};
}

PlistDictionary volumeIs(const PlistValue& volume) {
  return {{"request", "volume"}, {"value", volume}};
}

PlistDictionary marked(const char* title) {
  return {{"title", title}, {"id", "1"}, {"source_view", "apple_watch"}};
}

PlistDictionary chartOf(const PlistValue& list, const PlistValue& language) {
  return {{"list", list}, {"language", language}};
}

const PlistArray kSongs{song("a"), song("b")}, kMarked{marked("a"), marked("b")};
const PlistDictionary kChart{{"list", kSongs}, {"language", "Hindi"}, {"extra", 1}};
const PlistArray kChartAnnounced{PlistDictionary{{"dataSource", kMarked}}};
const std::vector<PlistDictionary> kChartReceived{{{"request", "weekly_top_15"}, {"received", "success"}}};
const std::vector<PlistDictionary> kStationsReceived{
    {{"request", "radio_stations"}, {"received", "success"}}};
const PlistDictionary kStations{{"featured", PlistArray{song("station")}}};
constexpr const char* kChartPosted = "post tunevaleWatch.playlist.weeklytop15.data";
constexpr const char* kPlayerPosted = "post tunevaleWatch.player.nowplayingchange";
constexpr const char* kVolumePosted = "post tunevaleWatch.device.volume";

TEST_F(IncomingData, MessagesAreAnsweredOnceAfterAVolumeIsStoredAndBeforeItIsAnnounced) {
  deliverData({{"appPlaying", song("a")}});
  settledTrace();
  const PlistDictionary empty{{"status", "empty"}};
  const Trace kept{"store volume", "synchronize", "answer success", kVolumePosted};
  const std::tuple<PlistDictionary, Trace, PlistArray> cases[] = {
      {volumeIs(0.25), kept, {PlistDictionary{{"volume", 0.25}}}},
      {volumeIs("loud"), kept, {PlistDictionary{{"volume", "loud"}}}},
      {volumeIs(PlistValue()), {"answer success"}, {}},
      {{{"request", "volume"}}, {"answer success"}, {}},
      {{{"request", "queue_empty"}}, {"answer failed", kPlayerPosted}, {empty}},  // handled all the same
      {{{"request", "Volume"}}, {"answer failed"}, {}},
      {{{"appPlaying", song("b")}}, {"answer failed"}, {}},
      {{}, {"answer failed"}, {}}};
  for (const auto& [message, expected, announced] : cases) {
    delegate.sessionDidReceiveMessage(phone, message, [this](const PlistDictionary& reply) {
      EXPECT_EQ(reply.size(), 1U);
      trace.push_back("answer " + std::string(WatchUtil::stringOrEmpty(reply.find("request"))));
    });
    EXPECT_EQ(settle(), announced);
    EXPECT_EQ(takeTrace(), expected);
  }
  delegate.sessionDidReceiveMessage(phone, {}, nullptr);  // nobody to answer
  EXPECT_FALSE(delegate.isPlayingMedia());
  EXPECT_EQ(delegate.nowPlayingSong(), song("a"));
  EXPECT_EQ(stored("volume"), PlistValue("loud"));
}

TEST_F(IncomingData, AChartIsStoredAcknowledgedAndAnnounced) {
  const PlistDictionary payload{{"weekly_top_15", kChart}, {"radio_stations", kStations}};
  for (const bool asUserInfo : {false, true}) {
    defaults.setObject(std::nullopt, kUserLanguage);
    takeTrace();
    if (asUserInfo) phone.deliverUserInfo(payload);
    if (!asUserInfo) deliverData(payload);
    EXPECT_TRUE(posted.empty());
    EXPECT_EQ(settle(), kChartAnnounced);
    EXPECT_EQ(takeTrace(), (Trace{"store kUserLanguage", "store weekly_top_15", "store weekly_top_15_data",
                                  "synchronize", "send weekly_top_15", kChartPosted}));
    EXPECT_EQ(stored("kUserLanguage"), PlistValue("hindi"));
    EXPECT_EQ(stored("weekly_top_15"), PlistValue(kMarked));
    EXPECT_EQ(stored("weekly_top_15_data"), PlistValue(kChart));
    EXPECT_EQ(phone.takeMessages(), kChartReceived);
  }
  EXPECT_TRUE(radio().getFeaturedStations().empty());
}

TEST_F(IncomingData, AContextStoresTheSongsAsAnArchiveOrTheCachedSongs) {
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

  takeTrace();
  phone.deliverApplicationContext(
      {{"weekly_top_15", archivedDataWithRootObject(kChart)}, {"cachedSongList", true}, {"pids", "1"}});
  EXPECT_EQ(settle(), kChartAnnounced);
  EXPECT_EQ(takeTrace(), (Trace{"store kUserLanguage", "store weekly_top_15_data", "synchronize",
                                "send weekly_top_15", kChartPosted}));
  const PlistValue data = stored("weekly_top_15_data");
  EXPECT_EQ(unarchiveObjectWithData(&data), PlistValue(kMarked));
  EXPECT_TRUE(stored("weekly_top_15").isNull() && stored("cached_list_pids").isNull());
  EXPECT_TRUE(world.log.lines().back().starts_with("applicationContext:{"));
}

TEST_F(IncomingData, WhatCannotBeKeptIsShownButNotAcknowledged) {
  deliverData({{"weekly_top_15", kChart}});
  phone.deliverMessage(volumeIs(0.5));
  settle();
  phone.takeMessages();
  const PlistDictionary payload{{"weekly_top_15", chartOf(PlistArray{song("c")}, "hindi")}};
  for (const bool refused : {true, false}) {
    defaults.takesIt = !refused;
    defaults.diskTakesIt = refused;
    deliverData(payload);
    phone.deliverUserInfo(payload);
    const auto answer = phone.deliverMessage(volumeIs(0.7));
    EXPECT_EQ(answer->reply, (PlistDictionary{{"request", "failed"}}));
    EXPECT_EQ(settle().size(), 3U);
    EXPECT_TRUE(phone.takeMessages().empty());
    // A context is acknowledged even so.
    phone.deliverApplicationContext({{"weekly_top_15", archivedDataWithRootObject(kChart)}});
    EXPECT_TRUE(world.log.lines().back().starts_with("didReceiveApplicationContent desc:"));
    EXPECT_EQ(settle().size(), 1U);
    EXPECT_EQ(phone.takeMessages(), kChartReceived);
    EXPECT_EQ(stored("volume"), PlistValue(refused ? 0.5 : 0.7));
    EXPECT_TRUE(!refused || stored("weekly_top_15_data") == PlistValue(kChart));
  }
}

TEST_F(IncomingData, TheChartsLanguageIsFollowed) {
  const PlistDictionary tamilSong{{"title", "t"}, {"language", "TAMIL"}};
  const PlistArray tamil{tamilSong}, mixed{song("a"), tamilSong};
  const PlistDictionary hindi = chartOf(kSongs, "Hindi");
  // the language before, the chart, the language after, whether the artwork is purged
  const std::tuple<PlistValue, PlistDictionary, PlistValue, bool> cases[] = {
      {"english", hindi, "hindi", true},
      {"hindi", hindi, "hindi", false},
      {"Hindi", hindi, "hindi", true},  // the stored one is taken as it stands
      {PlistValue(), hindi, "hindi", false},
      {"", hindi, "hindi", false},
      {"hindi", {{"list", tamil}}, "tamil", true},
      {"hindi", chartOf(tamil, ""), "tamil", true},
      {"hindi", chartOf(mixed, 4), "hindi", false},
      {"hindi", chartOf(tamil, "\u00C9T\u00C9"), "\u00E9t\u00E9", true}};
  for (const auto& [before, chart, after, purges] : cases) {
    platform.fileManager.createDirectoryAtPath(directory());
    radio().addImageToCache(picture(1, 1), "x.png");
    defaults.setObject(before, kUserLanguage);
    settledTrace();
    deliverData({{"weekly_top_15", chart}});
    Trace expected{"store weekly_top_15", "store weekly_top_15_data", "synchronize", "send weekly_top_15",
                   kChartPosted};
    if (purges) expected.insert(expected.begin(), "send watch_purged_cache");
    if (before != after) expected.insert(expected.begin(), "store kUserLanguage");
    EXPECT_EQ(settledTrace(), expected);
    EXPECT_EQ(stored("kUserLanguage"), after);
    EXPECT_EQ(platform.fileManager.fileExistsAtPath(directory()), !purges);
    EXPECT_EQ(radio().getTotalCacheCount() == 0, purges);
  }
  EXPECT_TRUE(world.log.lines().empty());
}

TEST_F(IncomingData, UnusableChartsAreNotTakenNorIsWhatIsNoSong) {
  PlistDictionary failed = kChart;
  failed.set("error", PlistValue());
  const PlistArray noSongs{1, "x"};
  const PlistDictionary noList{{"language", "Tamil"}}, empty;
  const PlistValue unusable[] = {
      failed, noList, chartOf(PlistArray(), 1), chartOf("x", "Tamil"), chartOf(noSongs, "Tamil"), empty, "x"};
  for (const PlistValue& chart : unusable) {
    deliverData({{"weekly_top_15", chart}, {"radio_stations", kStations}});
    // What is no record at all gives way to the stations here, and only here.
    if (WatchUtil::isNonEmptyDictionary(&chart)) phone.deliverUserInfo({{"weekly_top_15", chart}});
    phone.deliverApplicationContext(
        {{"weekly_top_15", archivedDataWithRootObject(chart)}, {"cachedSongList", 1}, {"pids", "x"}});
    EXPECT_TRUE(settle().empty());
    EXPECT_EQ(takeTrace(), Trace{});
  }
  EXPECT_TRUE(radio().getFeaturedStations().empty());
  deliverData({{"weekly_top_15", chartOf(PlistArray{"x", song("a"), PlistValue()}, 1)}});
  EXPECT_EQ(stored("weekly_top_15"), PlistValue(PlistArray{marked("a")}));
}

TEST_F(IncomingData, StationsByDataReachTheStoreAndThoseByUserInfoOnlyTheirAcknowledgement) {
  const PlistValue archive(archivedDataWithRootObject(kStations));
  const PlistDictionary odd{{"weekly_top_15", PlistDictionary()}, {"appPlaying", song("a")}, {"volume", 1}};
  const PlistDictionary bytes{{"radio_stations", archive}}, record{{"radio_stations", kStations}};
  for (const PlistDictionary& info : {bytes, record, odd, PlistDictionary{{"weekly_top_15", "unusable"}}}) {
    phone.deliverUserInfo(info);
    EXPECT_EQ(phone.takeMessages(), kStationsReceived);
  }
  phone.deliverUserInfo({});
  deliverData({{"radio_stations", archive}, {"appPlaying", song("a")}});
  deliverData({{"radio_stations", PlistDictionary()}});
  EXPECT_TRUE(phone.takeMessages().empty());
  EXPECT_TRUE(settle().empty());
  EXPECT_TRUE(radio().getFeaturedStations().empty());
  EXPECT_TRUE(stored("radio_stations").isNull() && stored("volume").isNull());

  deliverData({{"radio_stations", kStations}, {"appPlaying", song("a")}});
  EXPECT_EQ(radio().getFeaturedStations(), PlistArray{song("station")});
  EXPECT_EQ(phone.takeMessages(), kStationsReceived);
  EXPECT_FALSE(delegate.isPlayingMedia());
}

TEST_F(IncomingData, OnlyChangesOfThePlayStateAreAnnouncedAndOnlyWhatPlaysBringsAVolume) {
  const std::pair<PlistDictionary, const char*> cases[] = {
      {{{"appPaused", PlistDictionary{{"id", "9"}}}}, nullptr},  // as nameless and as quiet as the start
      {{{"appPaused", song("b")}, {"appPlaying", song("a")}, {"volume", 0.5}}, "playing"},
      {{{"appPlaying", song("a", "2")}, {"volume", 0.6}}, nullptr},
      {{{"appPaused", song("a")}, {"volume", 0.7}}, "paused"},
      {{{"appPaused", song("a")}}, nullptr},
      {{{"appPaused", song("b")}}, "paused"},
      {{{"appPlaying", "no record"}, {"volume", "0.8"}}, "playing"},
      {{{"appPlaying", PlistValue()}}, nullptr}};
  for (const auto& [payload, status] : cases) {
    const PlistValue* playing = payload.find("appPlaying");
    const auto song = WatchUtil::dictionaryOrEmpty(playing != nullptr ? playing : payload.find("appPaused"));
    const auto expected = status == nullptr ? delegate.nowPlayingSong() : song;
    EXPECT_EQ(deliverData(payload)->count, 0);
    const PlistArray announced = settle();
    ASSERT_EQ(announced.empty(), status == nullptr);
    EXPECT_EQ(delegate.nowPlayingSong(), expected);
    if (status == nullptr) continue;
    EXPECT_EQ(*announced.at(0), PlistValue(PlistDictionary{{"status", status}, {"data", song}}));
    EXPECT_EQ(delegate.isPlayingMedia(), playing != nullptr);
  }
  EXPECT_EQ(takeTrace(), (Trace{"store volume", "synchronize", kPlayerPosted, kVolumePosted, kPlayerPosted,
                                kPlayerPosted, kPlayerPosted}));
  EXPECT_EQ(stored("volume"), PlistValue(0.5));
}

TEST_F(IncomingData, AnAnnouncementTellsTheSongOfItsMomentAndDoesNotNeedTheDelegate) {
  auto brief = std::make_unique<ExtensionDelegate>(platform);
  phone.setDelegate(brief.get());
  deliverData({{"appPlaying", song("a")}});
  deliverData({{"appPaused", song("b")}});
  EXPECT_EQ(settle(), (PlistArray{PlistDictionary{{"status", "playing"}, {"data", song("b")}},
                                  PlistDictionary{{"status", "paused"}, {"data", song("b")}}}));
  // A report whose song was cleared meanwhile is not lost.
  deliverData({{"appPlaying", song("c")}, {"volume", 1}});
  brief->setNowPlayingSong(std::nullopt);
  phone.completeActivation();
  brief.reset();
  phone.reply(phone.lastMessage(), {});
  EXPECT_EQ(settle(), (PlistArray{PlistDictionary{{"status", "playing"}, {"data", song("c")}},
                                  PlistDictionary{{"volume", 1}}}));
}

}  // namespace
}  // namespace tunevale::test
