#include <gtest/gtest.h>

#include "PhoneWorld.h"
#include "foundation/Description.h"
#include "phone/Catalogue.h"

namespace tunevale::phone {
namespace {

using test::milliseconds;
using test::PhoneWorld;
using test::seconds;
using test::text;

constexpr std::size_t kAllArtwork = 2 + 24;

struct PushesTest : ::testing::Test {
  /// The watch has all that it should have, in the forms that it can use.
  void expectWatchHas(const std::string& language) {
    EXPECT_EQ(world.watch.language, language);
    EXPECT_EQ(world.watch.readableChart(), chartSongs(language));
    EXPECT_TRUE(world.watch.cachedPids);
    EXPECT_EQ(world.watch.stations, stationLists());
    EXPECT_EQ(world.watch.artworkFiles.size(), kAllArtwork);
    EXPECT_EQ(world.watch.volume, world.state().at("volume").as_int64());
  }
  int arrived(const char* what) { return world.watch.counts[what]; }

  PhoneWorld world;
};

TEST_F(PushesTest, AWatchThatConnectsGetsEverythingOnce) {
  world.start();
  expectWatchHas("english");
  EXPECT_EQ(text(*world.watch.nowPlaying, "id"), "eng001");
  EXPECT_EQ(world.watch.nowPlayingArtwork, "eng001");
  EXPECT_FALSE(world.watch.isPlaying);
  world.ask("Hello");
  world.strand.advance(seconds(30));
  for (const char* what : {"weekly_top_15", "radio_stations", "appPaused", "volume", "chart_context"}) {
    EXPECT_EQ(arrived(what), 1) << what;
  }
  EXPECT_EQ(arrived("context"), 2);
  EXPECT_EQ(arrived("file"), static_cast<int>(kAllArtwork) + 1);
  EXPECT_EQ(world.watch.purges, 0);
  EXPECT_EQ(world.strand.waiting(), 0u) << "a phone at rest sleeps";
}

TEST_F(PushesTest, WhatAPurgeWouldThrowAwayWaitsForTheChart) {
  world.watch.language = "tamil";
  world.start();
  EXPECT_EQ(world.watch.purges, 1);
  expectWatchHas("english");
  EXPECT_EQ(arrived("radio_stations"), 1);
  EXPECT_EQ(arrived("file"), static_cast<int>(kAllArtwork) + 1);
  // Artwork that is on its way when the watch purges again goes again.
  world.phone.command(R"({"do":"push_artwork"})", Origin::script);
  world.phone.command(R"({"do":"push_chart","language":"tamil"})", Origin::script);
  world.strand.run();
  expectWatchHas("tamil");
}

TEST_F(PushesTest, AHelloBeforeTheLinkTellsOfTheWatchCountsForIt) {
  world.start("run 1");
  world.ask("Hello");
  world.ask("Hello");
  EXPECT_EQ(arrived("weekly_top_15"), 2) << "a run that says hello again has lost something";
  world.start("run 2");
  EXPECT_EQ(arrived("weekly_top_15"), 2) << "it was this run's";
  world.ask("Hello");
  EXPECT_EQ(arrived("weekly_top_15"), 3);
}

TEST_F(PushesTest, TheContextFollowsTheChartEvenWhenTheLinkNeverTellsOfIt) {
  world.watch.answersMessageData = false;
  world.start();
  expectWatchHas("english");
}

TEST_F(PushesTest, WhatFailsIsTriedAgainButNotForEver) {
  for (const link::ErrorCode code : {link::ErrorCode::deliveryFailed, link::ErrorCode::sessionInactive}) {
    world.watch.failNext = code;
    world.start("run " + std::to_string(static_cast<int>(code)));
    world.strand.advance(seconds(2));
    expectWatchHas("english");
  }
  // Reachable by the link's last word, and yet everything fails.
  world.watch.cut();
  world.phone.linkStateDidChange({true, true, false, "run 9"});
  world.events.clear();
  world.strand.advance(seconds(3600));
  EXPECT_LE(world.eventsNamed("sent").size(), 50u);
  EXPECT_EQ(world.strand.waiting(), 0u);
  world.watch.cut();
  world.watch.stations.reset();
  world.watch.chartData = {};
  world.watch.volume = 0;
  world.start("run 9");
  expectWatchHas("english");
  world.command(R"({"do":"volume","value":2})");
  world.watch.failNext = link::ErrorCode::payloadTooLarge;
  world.command(R"({"do":"volume","value":3})");
  world.strand.advance(seconds(10));
  EXPECT_EQ(world.watch.volume, 2) << "what can never go is not sent again";
}

TEST_F(PushesTest, TheWatchFollowsThePlayerToTheEndOfTheQueue) {
  world.start();
  world.watch.failFile = true;  // the artwork of what plays, which is tried again
  world.command(R"({"do":"play_song","index":13})");
  world.strand.advance(seconds(2));
  EXPECT_TRUE(world.watch.isPlaying);
  EXPECT_EQ(text(*world.watch.nowPlaying, "id"), "eng014");
  EXPECT_EQ(world.watch.nowPlayingArtwork, "eng014");
  world.strand.advance(seconds(188));
  EXPECT_EQ(text(*world.watch.nowPlaying, "id"), "eng015");
  EXPECT_EQ(world.watch.nowPlayingArtwork, "eng015");
  const int files = arrived("file");
  world.command(R"({"do":"pause"})");
  world.command(R"({"do":"play"})");
  EXPECT_EQ(arrived("appPaused"), 2);
  EXPECT_EQ(arrived("file"), files) << "the same song has the same artwork";
  EXPECT_EQ(arrived("queue_empty"), 0);
  world.strand.advance(seconds(246));
  EXPECT_EQ(arrived("queue_empty"), 1);
  EXPECT_FALSE(world.watch.isPlaying);
  world.command(R"({"do":"play_episode"})");
  EXPECT_EQ(text(*world.watch.nowPlaying, "type"), "episode");
  world.command(R"({"do":"empty_queue"})");
  world.command(R"({"do":"empty_queue"})");
  EXPECT_EQ(arrived("queue_empty"), 2);
}

TEST_F(PushesTest, WhatChangedOutOfReachArrivesInItsLatestForm) {
  world.start();
  world.watch.cut();
  for (const char* line :
       {R"({"do":"play_song","index":1})", R"({"do":"next"})", R"({"do":"volume","value":9})",
        R"({"do":"volume","value":1})", R"({"do":"cached","add":["x1"]})",
        R"({"do":"push_chart","language":"tamil"})", R"({"do":"cached","add":["x2"],"remove":["x1"]})"}) {
    world.command(line);
  }
  world.strand.advance(seconds(5));
  world.start();
  expectWatchHas("tamil");
  const std::string pids = description(PlistValue(*world.watch.cachedPids));
  EXPECT_TRUE(pids.find("x2") != pids.npos && pids.find("x1") == pids.npos) << pids;
  EXPECT_EQ(arrived("appPlaying"), 1);
  EXPECT_EQ(text(*world.watch.nowPlaying, "id"), "eng003");
  EXPECT_EQ(world.watch.nowPlayingArtwork, "eng003");
  EXPECT_EQ(world.watch.volume, 1);
  EXPECT_EQ(arrived("weekly_top_15"), 2) << "the first, and the last that was pushed";
}

TEST_F(PushesTest, AVolumeOfTheWatchComesBackOnceItHasSettled) {
  world.start();
  const int before = arrived("volume");
  for (int i = 0; i < 10; ++i) {
    world.ask("volume", {{"level", i / 10.0}});
    world.strand.advance(milliseconds(200));
  }
  EXPECT_EQ(arrived("volume"), before);
  world.strand.advance(milliseconds(100));
  EXPECT_EQ(arrived("volume"), before + 1);
  EXPECT_EQ(world.watch.volume, 9);
}

TEST(PushesAtTheEnd, OutcomesAfterThePhoneIsGoneAreNobodys) {
  link::ManualStrand strand;
  test::ModelWatch watch(strand);
  PhoneObserver observer;
  {
    PhoneApp phone(strand, watch, observer);
    watch.pairWith(phone);
    phone.linkStateDidChange({true, true, false, "run"});
  }
  strand.advance(seconds(100));
  EXPECT_EQ(strand.waiting(), 0u);
}

}  // namespace
}  // namespace tunevale::phone
