#include "screens/PlaylistInterfaceController.h"
#include "screens/ScreensFixture.h"
#include "screens/SongRowController.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

using Playlist = ShownScreen<PlaylistInterfaceController, SongRowController>;

struct PlaylistScreen : ExtensionTest {
  static PlistArray songs(int count) {
    PlistArray list;
    for (int i = 0; i < count; ++i) list.append(PlistDictionary{{"id", "p" + std::to_string(i)}});
    return list;
  }
  /// Past the request for the cached songs.
  void open(const PlistArray& list) {
    playlist.awake(PlistDictionary{{"dataSource", list}});
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "cachedSongList"}, {"songs", list}}}));
  }
  std::size_t rowCount() { return playlist->playlistTable->rows().size(); }
  SongRowController* row(std::size_t index) {
    return playlist->playlistTable->rowControllerAtIndex<SongRowController>(index);
  }
  std::string header() { return playlist->languageLabel->text(); }
  void post(const PlistValue& list) {
    center.postNotificationName(kNotificationFetchedWeeklyTop15Data, PlistDictionary{{"dataSource", list}});
  }
  Playlist playlist{world.platform, host};
};

TEST_F(PlaylistScreen, ShowsItsSongsAndUntilTheFirstDeactivationEachNewChart) {
  const PlistDictionary first{{"title", "Salt &amp;amp; Pepper"},
                              {"id", "p1"},
                              {"more_info", PlistDictionary{{"album", "Kitchen &lt;3"}}}};
  defaults.setObject(PlistArray{"p1", "", 2}, "cached_list_pids");
  defaults.setObject(PlistValue("hindi"), "kUserLanguage");
  storeChart(songs(5));
  open({first, PlistDictionary{{"id", "p2"}}, PlistDictionary()});
  ASSERT_EQ(rowCount(), 3U);
  EXPECT_EQ(row(0)->songName->text() + ", " + row(0)->songMeta->text(), "Salt & Pepper, Kitchen <3");
  EXPECT_EQ(row(0)->songData, first);
  EXPECT_TRUE(row(0)->downloadButton->isHidden());
  EXPECT_FALSE(row(0)->downloadButton->tap());
  EXPECT_FALSE(row(1)->downloadButton->isHidden() || row(2)->downloadButton->isHidden());
  EXPECT_EQ(playlist->playlistImage->image().name, "wt15_art");
  EXPECT_EQ(playlist->backgroundGroup->backgroundImage().name, "wt15_bg");

  post(songs(20));
  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.array() == nullptr || odd.array()->empty()) post(odd);
  }
  center.postNotificationName(kNotificationFetchedWeeklyTop15Data);
  EXPECT_EQ(header(), "Hindi  \u2022  3 songs");  // the rows are new, the header is not
  center.postNotificationName(kNotificationFetchedPlaylistImage);
  EXPECT_EQ(header(), "Hindi  \u2022  20 songs");
  playlist->didDeactivate();
  playlist->willActivate();
  defaults.setObject(PlistValue("tamil"), "kUserLanguage");
  post(songs(4));
  center.postNotificationName(kNotificationFetchedPlaylistImage);
  EXPECT_EQ(header(), "Hindi  \u2022  20 songs");
  EXPECT_EQ(rowCount(), 20U);
}

TEST_F(PlaylistScreen, FallsBackToTheStoredChartAndThenAsksThePhone) {
  storeChart(songs(2));
  playlist.awake(PlistDictionary{{"dataSource", PlistArray()}});
  EXPECT_EQ(rowCount(), 2U);
  EXPECT_EQ(header(), "");
  for (const PlistValue& odd : oneOfEachKind()) {
    defaults.setObject(odd, kReceiveWeeklyTop15Data);
    Playlist empty{world.platform, host};
    empty.awake(odd);
    EXPECT_TRUE(empty->playlistTable->rows().empty());
    EXPECT_EQ(host.take(), Texts{alert(kAlertFetchingData)});
    world.phone.setActivationState(ActivationState::notActivated);
    empty->playSongAtIndex(0);
    EXPECT_EQ(host.take(), Texts{alert(kAlertDataError)});
    world.phone.setActivationState(ActivationState::activated);
  }
  EXPECT_EQ(world.phone.sentMessageData().size(), oneOfEachKind().size());
}

TEST_F(PlaylistScreen, TheCachedSongsOfTheAnswerLoseTheirButton) {
  const auto stored = [this] { return defaults.objectForKey("cached_list_pids"); };
  const PlistArray pids{"p1"};
  open(songs(2));
  answer({{"pids", pids}});
  EXPECT_EQ(stored(), PlistValue(pids));
  EXPECT_TRUE(row(1)->downloadButton->isHidden());
  row(0)->songName->setText("not rebuilt");
  for (const PlistDictionary& reply : {PlistDictionary{{"pids", PlistArray()}}, PlistDictionary()}) {
    playlist->updateCacheButton();
    answer(reply);
  }
  EXPECT_EQ(stored(), std::nullopt);
  playlist->updateCacheButton();
  refuse();
  EXPECT_EQ(row(0)->songName->text(), "not rebuilt");
  EXPECT_TRUE(takeLog().empty());
}

TEST_F(PlaylistScreen, ASelectedSongPlaysAndThePlayerOpensWhenThePhoneAgrees) {
  const PlistArray list = songs(5);
  open(list);
  const auto expectSelected = [&](const std::optional<PlistDictionary>& answered, const Texts& shown,
                                  const std::string& logged) {
    playlist->tableDidSelectRowAtIndex(*playlist->playlistTable, 3);
    EXPECT_EQ(world.phone.takeMessages(),
              Messages({{{"request", "playWeeklyTop15"}, {"data", list}, {"currentPosition", "3"}}}));
    EXPECT_TRUE(host.take().empty());
    answered ? answer(*answered) : refuse();
    EXPECT_EQ(host.take(), shown);
    EXPECT_EQ(takeLog(), (Texts{"rowIndex:3", "Selected Dict: {id = p3; }", logged}));
  };
  expectSelected(PlistDictionary{{"error", ""}}, {"push PlayerHomeView {}"},
                 "Reply message : {error = \"\"; }");
  expectSelected(PlistDictionary{{"error", "Gone"}}, {alert("Gone")}, "Reply message : {error = Gone; }");
  expectSelected(std::nullopt, {}, "Error handling message: away");
  expectReadinessCheck([this] { playlist->playSongAtIndex(0); });
  world.phone.setActivationState(ActivationState::activated);
  world.phone.setLocked(false);
  expectFlash(*playlist->playButtonGroup, [this] { playlist.act("playAllPressed"); });
  EXPECT_EQ(*world.phone.takeMessages().at(0).find("currentPosition"), PlistValue("0"));
  EXPECT_EQ(host.take(), Texts{alert(kAlertNotReachable)});
}

TEST_F(PlaylistScreen, AHostileChartBecomesAModestTable) {
  PlistArray list;
  for (const PlistValue& odd : oneOfEachKind()) list.append(odd);
  const PlistValue longText(std::string(kLongestShownText - 3, 'x') + "\U0001F3B5");
  while (list.size() < 5000) list.append(PlistDictionary{{"title", longText}, {"id", longText}});
  defaults.setObject(PlistArray{longText, 7}, "cached_list_pids");
  defaults.setObject(PlistValue("hindi"), "kUserLanguage");
  open(list);
  ASSERT_EQ(rowCount(), 2000U);
  EXPECT_EQ(header(), "Hindi  \u2022  2000 songs");
  playlist->reloadData();
  EXPECT_EQ(takeLog(), Texts{"Only 2000 of 5000 rows are shown"});
  post(list);
  EXPECT_EQ(takeLog(), Texts{"Only 2000 of 5000 rows are shown"});
  EXPECT_EQ(row(1999)->songName->text(), std::string(kLongestShownText - 3, 'x'));  // no half character
  EXPECT_FALSE(row(1999)->downloadButton->isHidden());
  row(0)->downloadSong();
  EXPECT_TRUE(world.phone.takeMessages().empty());
  playlist->playSongAtIndex(0);
  EXPECT_EQ(*world.phone.takeMessages().at(0).find("data"), PlistValue(list));
}

}  // namespace
}  // namespace tunevale::test
