#include "screens/PlaylistInterfaceController.h"
#include "screens/ScreensFixture.h"
#include "screens/SongRowController.h"
#include "util/PlayRequests.h"
#include "util/ShownLimits.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

using WatchUtil::kPlayColor;
using WatchUtil::kPressedColor;

struct PlaylistScreen : ExtensionTest {
  static PlistArray songs(int count) {
    PlistArray list;
    for (int i = 0; i < count; ++i) {
      list.append(PlistDictionary{{"title", "Song " + std::to_string(i)}, {"id", "p" + std::to_string(i)}});
    }
    return list;
  }
  ShownScreen<PlaylistInterfaceController, SongRowController>& awakeWith(const PlistArray& list) {
    return playlist.awake(PlistDictionary{{"dataSource", list}});
  }
  std::size_t rowCount() { return playlist->playlistTable->rows().size(); }
  SongRowController* row(std::size_t index) {
    return playlist->playlistTable->rowControllerAtIndex<SongRowController>(index);
  }
  void post(const PlistValue& list) {
    center.postNotificationName(kNotificationFetchedWeeklyTop15Data, PlistDictionary{{"dataSource", list}});
  }
  ShownScreen<PlaylistInterfaceController, SongRowController> playlist{world.platform, host};
};

TEST_F(PlaylistScreen, ShowsItsContextsSongsAndAsksWhichAreCached) {
  const PlistArray list{PlistDictionary{{"title", "Salt &amp;amp; Pepper"},
                                        {"id", "p1"},
                                        {"more_info", PlistDictionary{{"album", "Kitchen &lt;3"}}}},
                        PlistDictionary{{"title", "B"}, {"id", "p2"}}, PlistDictionary{{"title", "C"}}};
  defaults.setObject(PlistArray{"p1", "", 2}, "cached_list_pids");
  defaults.setObject(PlistValue("hindi"), "kUserLanguage");
  storeChart(songs(5));
  awakeWith(list);
  ASSERT_EQ(rowCount(), 3U);
  EXPECT_EQ(playlist->playlistTable->rows()[2].type, "SongRow");
  EXPECT_EQ(row(0)->songName->text(), "Salt & Pepper");
  EXPECT_EQ(row(0)->songMeta->text(), "Kitchen <3");
  EXPECT_EQ(row(1)->songMeta->text(), "");
  EXPECT_EQ(PlistValue(row(1)->songData), *list.at(1));
  EXPECT_TRUE(row(0)->downloadButton->isHidden());
  EXPECT_FALSE(row(1)->downloadButton->isHidden());
  EXPECT_FALSE(row(2)->downloadButton->isHidden());
  EXPECT_EQ(playlist->languageLabel->text(), "Hindi  \u2022  3 songs");
  EXPECT_EQ(playlist->playlistImage->image().name, "wt15_art");
  EXPECT_EQ(playlist->backgroundGroup->backgroundImage().name, "wt15_bg");
  EXPECT_EQ(playlist->playButtonGroup->backgroundColor(), kPlayColor);
  EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "cachedSongList"}, {"songs", list}}}));
  EXPECT_TRUE(world.phone.sentMessageData().empty());
}

TEST_F(PlaylistScreen, FallsBackToTheStoredChartAndThenAsksThePhone) {
  const PlistArray none;
  storeChart(songs(2));
  awakeWith(none);
  EXPECT_EQ(rowCount(), 2U);
  EXPECT_EQ(playlist->languageLabel->text(), "");
  world.phone.takeMessages();

  for (const PlistValue& odd : oneOfEachKind()) {
    defaults.setObject(odd, kReceiveWeeklyTop15Data);
    ShownScreen<PlaylistInterfaceController, SongRowController> empty{world.platform, host};
    empty.awake(odd);
    EXPECT_TRUE(empty->playlistTable->rows().empty());
    EXPECT_EQ(host.takeAlerts(), Texts{alert(kAlertFetchingData)});
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "cachedSongList"}, {"songs", none}}}));
  }
  EXPECT_EQ(world.phone.sentMessageData().size(), oneOfEachKind().size());
}

TEST_F(PlaylistScreen, ANewChartRebuildsTheRowsButNotTheHeader) {
  defaults.setObject(PlistValue("hindi"), "kUserLanguage");
  awakeWith(songs(15));
  post(songs(20));
  EXPECT_EQ(rowCount(), 20U);
  EXPECT_EQ(playlist->languageLabel->text(), "Hindi  \u2022  15 songs");
  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.array() == nullptr || odd.array()->empty()) post(odd);
  }
  center.postNotificationName(kNotificationFetchedWeeklyTop15Data);
  EXPECT_EQ(rowCount(), 20U);
  center.postNotificationName(kNotificationFetchedPlaylistImage);
  EXPECT_EQ(playlist->languageLabel->text(), "Hindi  \u2022  20 songs");
}

TEST_F(PlaylistScreen, FollowsNothingMoreOnceItWasDeactivated) {
  defaults.setObject(PlistValue("tamil"), "kUserLanguage");
  awakeWith(songs(2));
  playlist->didDeactivate();
  playlist->willActivate();
  post(songs(4));
  defaults.setObject(PlistValue("hindi"), "kUserLanguage");
  center.postNotificationName(kNotificationFetchedPlaylistImage);
  EXPECT_EQ(rowCount(), 2U);
  EXPECT_EQ(playlist->languageLabel->text(), "Tamil  \u2022  2 songs");
}

TEST_F(PlaylistScreen, TheCachedSongsOfTheAnswerLoseTheirButton) {
  const auto stored = [this] { return defaults.objectForKey("cached_list_pids"); };
  awakeWith(songs(2));
  answer({{"pids", PlistArray{"p1"}}});
  EXPECT_EQ(stored(), PlistValue(PlistArray{"p1"}));
  EXPECT_TRUE(row(1)->downloadButton->isHidden());

  row(0)->songName->setText("not rebuilt");
  for (const PlistDictionary& reply : {PlistDictionary{{"pids", PlistArray()}}, PlistDictionary()}) {
    playlist->updateCacheButton();
    answer(reply);
    EXPECT_EQ(row(0)->songName->text(), "not rebuilt");
  }
  EXPECT_EQ(stored(), std::nullopt);
  defaults.setObject(PlistArray{"p0"}, "cached_list_pids");
  playlist->updateCacheButton();
  refuse("away");
  EXPECT_EQ(stored(), PlistValue(PlistArray{"p0"}));
  EXPECT_TRUE(takeLog().empty());
}

TEST_F(PlaylistScreen, ASelectedSongPlaysOnceThePhoneAgrees) {
  const PlistArray list = songs(5);
  awakeWith(list);
  world.phone.takeMessages();
  playlist->tableDidSelectRowAtIndex(*playlist->playlistTable, 3);
  EXPECT_EQ(takeLog(), (Texts{"rowIndex:3", "Selected Dict: {id = p3; title = \"Song 3\"; }"}));
  EXPECT_EQ(world.phone.takeMessages(),
            Messages({{{"request", "playWeeklyTop15"}, {"data", list}, {"currentPosition", "3"}}}));
  EXPECT_TRUE(host.takeOpened().empty());
  answer({{"error", ""}});
  EXPECT_EQ(takeLog(), Texts{"Reply message : {error = \"\"; }"});
  const auto opened = host.takeOpened();
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_FALSE(opened[0].modal);
  EXPECT_EQ(opened[0].pages, std::vector<RecordingHost::Page>({{"PlayerHomeView", PlistDictionary()}}));

  playlist->playSongAtIndex(0);
  answer({{"error", "Song not available"}});
  EXPECT_EQ(host.takeAlerts(), Texts{alert("Song not available")});
  takeLog();
  playlist->playSongAtIndex(-1);
  EXPECT_EQ(world.phone.sentMessages().back().find("currentPosition")->string(), "-1");
  refuse("away");
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  EXPECT_TRUE(host.takeOpened().empty());
  EXPECT_TRUE(host.takeAlerts().empty());
}

TEST_F(PlaylistScreen, NothingIsSentWhileThePhoneIsNotReady) {
  awakeWith(songs(1));
  expectReadinessCheck([this] { playlist->playSongAtIndex(0); });
}

TEST_F(PlaylistScreen, PlayAllFlashesWhateverComesOfIt) {
  awakeWith(songs(1));
  world.phone.setReachable(false);
  playlist.act("playAllPressed");
  EXPECT_EQ(host.takeAlerts(), Texts{alert(kAlertNotReachable)});
  EXPECT_EQ(playlist->playButtonGroup->backgroundColor(), kPressedColor);
  world.mainQueue.advance(std::chrono::nanoseconds(99'999'999));
  EXPECT_EQ(playlist->playButtonGroup->backgroundColor(), kPressedColor);
  world.mainQueue.advance(std::chrono::nanoseconds(1));
  EXPECT_EQ(playlist->playButtonGroup->backgroundColor(), kPlayColor);
  world.phone.setReachable(true);
  playlist.act("playAllPressed");
  EXPECT_EQ(world.phone.sentMessages().back().find("currentPosition")->string(), "0");
}

TEST_F(PlaylistScreen, AnEmptyChartIsToldBeforeThePhoneIsLookedAt) {
  playlist.awake();
  host.takeAlerts();
  world.phone.takeMessages();
  world.phone.setActivationState(ActivationState::notActivated);
  playlist->playSongAtIndex(0);
  EXPECT_EQ(host.takeAlerts(), Texts{alert(kAlertDataError)});
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(PlaylistScreen, ARowsButtonAsksForTheDownload) {
  awakeWith(songs(2));
  EXPECT_TRUE(row(1)->downloadButton->tap());
  EXPECT_EQ(takeLog(), Texts{"Selected Song:{id = p1; title = \"Song 1\"; }"});
  EXPECT_EQ(world.phone.sentMessages().back(),
            (PlistDictionary{{"request", "downloadSong"}, {"data", *songs(2).at(1)}}));
  answer({{"downloadSong", "Downloading"}});
  EXPECT_EQ(host.takeAlerts(), Texts{alert("Downloading")});
}

TEST_F(PlaylistScreen, RowsDoNotKeepALeftScreenAlive) {
  awakeWith(songs(2));
  playlist.act("playAllPressed");
  const auto left = playlist.leave();
  world.phone.reply(0, {{"pids", PlistArray{"p1"}}});
  world.phone.reply(1, {});
  world.settle();
  EXPECT_FALSE(left.expired());  // the colour is still to come back
  world.mainQueue.advance(std::chrono::milliseconds(100));
  EXPECT_TRUE(left.expired());
  EXPECT_TRUE(host.takeOpened().empty());
}

TEST_F(PlaylistScreen, AHostileChartBecomesAModestTable) {
  PlistArray list;
  for (const PlistValue& odd : oneOfEachKind()) {
    list.append(odd);
    list.append(PlistDictionary{{"title", odd}, {"id", odd}, {"more_info", odd}});
    list.append(PlistDictionary{{"more_info", PlistDictionary{{"album", odd}}}});
  }
  const PlistValue longTitle(std::string(200'000, 'a') + "\u0916");
  const PlistDictionary longSong{{"title", longTitle}, {"id", longTitle}};
  for (int i = 0; i < 5000; ++i) list.append(longSong);
  defaults.setObject(PlistArray{longTitle, 7}, "cached_list_pids");
  awakeWith(list);
  ASSERT_EQ(rowCount(), WatchUtil::kMostRows);
  EXPECT_EQ(row(WatchUtil::kMostRows - 1)->songName->text().size(), WatchUtil::kLongestRowText);
  EXPECT_FALSE(row(WatchUtil::kMostRows - 1)->downloadButton->isHidden());
  playlist->tableDidSelectRowAtIndex(*playlist->playlistTable, 0);
  EXPECT_EQ(*world.phone.sentMessages().back().find("data"), PlistValue(list));
  row(0)->downloadSong();  // no record: nothing to ask for
  EXPECT_EQ(*world.phone.sentMessages().back().find("request"), PlistValue("playWeeklyTop15"));
}

TEST(RowText, IsNeverCutInsideACharacter) {
  const std::string filler(WatchUtil::kLongestRowText - 1, 'x');
  const PlistValue text(filler + "\u0916\u0917");
  EXPECT_EQ(WatchUtil::rowText(&text), filler);
  EXPECT_EQ(WatchUtil::rowText(nullptr), "");
}

}  // namespace
}  // namespace tunevale::test
