#include <gtest/gtest.h>

#include "PhoneWorld.h"
#include "foundation/KeyedArchive.h"
#include "phone/Catalogue.h"

namespace tunevale::phone {
namespace {

using test::PhoneWorld;
using test::seconds;
using test::text;
using Kind = Answer::Kind;

struct RequestsTest : ::testing::Test {
  std::string errorOf(const Answer& answer) { return text(answer.body, "error"); }
  /// What the phone says is playing, and whether.
  std::pair<std::string, std::string> current() {
    const Answer answer = world.ask("currentPlayingSong");
    const auto playing = unarchiveObjectWithData(answer.body.find("currentPlayingSong"));
    const PlistValue* song = playing->dictionary()->find("songInfo");
    return {song == nullptr ? "" : text(*song->dictionary(), "id"), text(*playing->dictionary(), "status")};
  }
  void expectCurrent(const std::string& id, const std::string& status = "playing") {
    EXPECT_EQ(current(), std::pair(id, status));
  }
  std::size_t pidCount() { return world.ask("cachedSongList").body.find("pids")->array()->size(); }

  PhoneWorld world;
};

TEST_F(RequestsTest, AnEmptyQueueIsRefusedExceptForAnOfferOfTheChart) {
  world.command(R"({"do":"empty_queue"})");
  expectCurrent("", "paused");
  for (const char* request : {"prevMedia", "nextMedia", "pauseMedia", "playMedia"}) {
    EXPECT_FALSE(errorOf(world.ask(request, {{"weekly_top_15", 0}})).empty()) << request;
  }
  EXPECT_EQ(errorOf(world.ask("playMedia", {{"weekly_top_15", 1}})), "");
  expectCurrent("eng001");
  world.command(R"({"do":"next"})");
  EXPECT_EQ(errorOf(world.ask("playMedia", {{"weekly_top_15", 1}})), "");
  expectCurrent("eng002");
}

TEST_F(RequestsTest, PlaysTheSentListFromTheSentPosition) {
  const PlistArray songs = chartSongs("tamil");
  EXPECT_EQ(errorOf(world.ask("playWeeklyTop15", {{"data", songs}, {"currentPosition", "3"}})), "");
  expectCurrent("tam004");
  // What is no song is left out, and the others keep their place.
  const PlistArray mixed{PlistValue(), "x", *songs.at(7), PlistDictionary(), *songs.at(8)};
  EXPECT_EQ(errorOf(world.ask("playWeeklyTop15", {{"data", mixed}, {"currentPosition", "4"}})), "");
  expectCurrent("tam009");
  const PlistValue all(songs), none(PlistArray{});
  for (const auto& [list, position] : std::initializer_list<std::pair<PlistValue, PlistValue>>{
           {mixed, "1"}, {all, "15"}, {all, "-1"}, {all, PlistValue()}, {none, "0"}, {"songs", "0"}}) {
    EXPECT_FALSE(
        errorOf(world.ask("playWeeklyTop15", {{"data", list}, {"currentPosition", position}})).empty());
  }
  expectCurrent("tam009");
}

TEST_F(RequestsTest, AStationPlaysOnForEver) {
  const PlistDictionary lists = stationLists();
  const PlistDictionary& station = *lists.find("artist")->array()->at(2)->dictionary();
  for (const char* kind : {"featured", "artist"}) {
    for (const PlistValue& each : *lists.find(kind)->array()) {
      const std::string title = text(*each.dictionary(), "title");
      EXPECT_EQ(title, plainText(title)) << "watches show it as it comes";
    }
  }
  EXPECT_EQ(errorOf(world.ask("playRadio", {{"dataSource", station}, {"type", "artist"}})), "");
  const std::string first = current().first;
  for (int i = 0; i < 10; ++i) world.ask("nextMedia");
  expectCurrent(first);
  EXPECT_FALSE(errorOf(world.ask("playRadio", {{"dataSource", "Night Drive"}})).empty());
  EXPECT_FALSE(errorOf(world.ask("playRadio", {{"dataSource", PlistDictionary{{"title", 7}}}})).empty());
}

TEST_F(RequestsTest, VolumeComesInTenths) {
  for (int i = 0; i <= 10; ++i) {
    world.ask("volume", {{"level", static_cast<double>(static_cast<float>(i) / 10.0F)}});
    EXPECT_EQ(world.state().at("volume").as_int64(), i);
  }
  for (const PlistValue& wrong :
       {PlistValue("0.5"), PlistValue(1.5), PlistValue(-0.1), PlistValue(0.0 / 0.0), PlistValue()}) {
    EXPECT_FALSE(errorOf(world.ask("volume", {{"level", wrong}})).empty());
  }
  EXPECT_FALSE(errorOf(world.ask("volume")).empty());
  EXPECT_EQ(world.state().at("volume").as_int64(), 10);
}

TEST_F(RequestsTest, ADownloadedSongIsOnThePhone) {
  const std::size_t before = pidCount();
  const PlistDictionary song{{"id", "eng003"}, {"title", "Don&#039;t Wake &amp; Walk"}};
  for (const char* words : {"now", "already"}) {
    const std::string told = text(world.ask("downloadSong", {{"data", song}}).body, "downloadSong");
    EXPECT_TRUE(told.starts_with("\u201CDon't Wake & Walk\u201D is ")) << told;  // watches undo nothing here
    EXPECT_NE(told.find(words), std::string::npos) << told;
  }
  EXPECT_EQ(pidCount(), before + 1);
  for (const PlistDictionary& wrong : {PlistDictionary{},
                                       {{"data", 5}},
                                       {{"data", PlistDictionary{{"id", 5}}}},
                                       {{"data", PlistDictionary{{"id", std::string(101, 'x')}}}}}) {
    EXPECT_FALSE(text(world.ask("downloadSong", wrong).body, "downloadSong").empty());
  }
  std::string many = R"({"do":"cached","add":["x")";
  for (std::size_t i = pidCount() + 1; i < 2000; ++i) many += ",\"" + std::to_string(i) + "\"";
  world.command(many + "]}");
  EXPECT_EQ(pidCount(), 2000u);
  world.ask("downloadSong", {{"data", PlistDictionary{{"id", "one more"}}}});
  EXPECT_EQ(pidCount(), 2000u) << "a watch cannot fill the phone's memory";
}

TEST_F(RequestsTest, MessageDataAsksForEverythingAndTheUnknownIsRefused) {
  world.start();
  const auto reply = [this](const Bytes& data) {
    const DataAnswer answer = world.phone.didReceiveMessageData(data);
    world.strand.run();
    EXPECT_EQ(answer.kind, DataAnswer::Kind::reply);
    return *unarchiveObjectWithData(answer.body)->dictionary();
  };
  const int charts = world.watch.counts["chart_context"];
  EXPECT_EQ(
      text(reply(archivedDataWithRootObject(PlistDictionary{{"request", "fetch_app_data"}})), "request"),
      "success");
  EXPECT_EQ(world.watch.counts["chart_context"], charts + 1);
  EXPECT_FALSE(text(reply(archivedDataWithRootObject("fetch_app_data")), "error").empty());
  EXPECT_FALSE(errorOf(world.ask("reboot")).empty());
  EXPECT_EQ(world.watch.counts["chart_context"], charts + 1);
}

TEST_F(RequestsTest, SwitchesTakeTheEffectFromRequestsButNotFromNotices) {
  const auto press = [this](const char* switches) {
    world.command(switches);
    const Answer answer = world.ask("nextMedia");
    EXPECT_EQ(world.state().at("index").as_int64(), 0) << switches;
    return answer;
  };
  EXPECT_EQ(errorOf(press(R"({"do":"set","refuse":"Not now"})")), "Not now");
  EXPECT_EQ(text(world.ask("downloadSong").body, "downloadSong"), "Not now")
      << "the watch shows no other text";
  EXPECT_EQ(text(world.ask("Hello").body, "request"), "success");
  EXPECT_EQ(press(R"({"do":"set","silent":true})").kind, Kind::silence);
  EXPECT_EQ(press(R"({"do":"set","silent":false,"failing":true})").kind, Kind::failure);
  EXPECT_EQ(world.phone.didReceiveMessageData({}).kind, DataAnswer::Kind::failure);

  world.start();
  world.watch.stations.reset();
  EXPECT_EQ(world.ask("watch_purged_cache").kind, Kind::failure);
  EXPECT_TRUE(world.watch.stations) << "the cache was purged, whatever the phone says about it";
  world.command(R"({"do":"set","failing":false,"refuse":""})");
  EXPECT_EQ(errorOf(world.ask("nextMedia")), "");
  EXPECT_EQ(world.state().at("index").as_int64(), 1);
}

}  // namespace
}  // namespace tunevale::phone
