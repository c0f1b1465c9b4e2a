#include "screens/ScreensFixture.h"
#include "support/Pictures.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

struct PlayerDisplay : PlayerTest {
  void post(const PlistDictionary& info) {
    center.postNotificationName(kNotificationFetchedNowPlayingData, info);
  }
  /// What the phone plays, as it answers an activation.
  static PlistDictionary playing(const PlistValue& song, const PlistValue& status = "playing") {
    const PlistDictionary state{{"songInfo", song}, {"status", status}};
    return {{"currentPlayingSong", PlistValue(archivedDataWithRootObject(state))}};
  }
};

TEST_F(PlayerDisplay, AModalOpeningShowsAndStoresItsSong) {
  const PlistDictionary opened{
      {"title", "Rain &amp; Sun"},
      {"more_info",
       PlistDictionary{{"album", "Sky &quot;1&quot;"},
                       {"artistMap", PlistDictionary{{"primary_artists",
                                                      PlistArray{PlistDictionary{{"name", "Ana"}}}}}}}}};
  delegate.setNowPlayingSong(song("another"));
  player.awake(PlistDictionary{{"view_type", "modal"}, {"data", opened}, {"status", "playing"}});
  EXPECT_EQ(player->title(), "< Player");
  EXPECT_EQ(title(), "Rain & Sun");
  EXPECT_EQ(meta(), "Sky \"1\" \u2013 Ana");
  EXPECT_EQ(playImage(), "Pause");
  EXPECT_EQ(player->mode(), 1U);
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), PlistValue(opened));
}

TEST_F(PlayerDisplay, OpensWithWhatTheDelegateKnows) {
  const ImagePtr artwork = picture(4, 4);
  delegate.setNowPlayingSong(song("Known"));
  delegate.setIsPlayingMedia(true);
  delegate.setCurrentMediaImage(artwork);
  storeChart({song("chart")});
  player.awake(PlistDictionary{{"data", PlistDictionary()}, {"status", "paused"}, {"view_type", "push"}});
  EXPECT_EQ(player->title(), "");
  EXPECT_EQ(title(), "Known");
  EXPECT_EQ(player->mode(), 1U);
  EXPECT_FALSE(player->showingPlaceholder());
  EXPECT_EQ(player->bgGroupView->backgroundImage().image, artwork);
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), std::nullopt);
}

TEST_F(PlayerDisplay, OffersTheStoredChartWhenNothingPlays) {
  storeChart({song("chart")});
  for (const char* language : {"", "tamil", "old ENGLISH"}) {
    defaults.setObject(PlistValue(language), "kUserLanguage");
    const auto screen = makePlayer();
    (*screen)->playButton->setBackgroundImageNamed("of the layout");
    screen->awake(PlistDictionary());
    const std::string shown(language);
    EXPECT_EQ((*screen)->songTitleLabel->text(), "Weekly Top 15");
    EXPECT_EQ((*screen)->songMetaLabel->text(), shown.empty()      ? "Hindi"
                                                : shown == "tamil" ? "Tamil"
                                                                   : "Old English");
    EXPECT_TRUE((*screen)->showingPlaceholder());
    // Other than after an "empty" report, mode and button stay as they are.
    EXPECT_EQ((*screen)->mode(), 0U);
    EXPECT_EQ((*screen)->playButton->backgroundImage().name, "of the layout");
  }
}

TEST_F(PlayerDisplay, AChartStoredInAnotherFormIsNone) {
  for (const PlistValue& odd : oneOfEachKind()) {
    defaults.setObject(odd, kReceiveWeeklyTop15Data);
    const auto screen = makePlayer();
    screen->awake(odd);
    EXPECT_FALSE((*screen)->showingPlaceholder());
    EXPECT_EQ((*screen)->songTitleLabel->text(), "");
  }
}

TEST_F(PlayerDisplay, AnEpisodeShowsItsShowAndSeason) {
  PlistDictionary episode{
      {"type", "episode"},
      {"title", "Pilot &gt;"},
      {"more_info",
       PlistDictionary{{"show_title", "Night &#39;n Day"}, {"season_number", "3"}, {"album", "x"}}}};
  player.awake();
  post({{"status", "paused"}, {"data", episode}});
  EXPECT_EQ(title(), "Pilot >");
  EXPECT_EQ(meta(), "Night 'n Day \u2013 Season 3");
  for (const char* type : {"Episode", "song", ""}) {
    episode.set("type", type);
    post({{"status", "paused"}, {"data", episode}});
    EXPECT_EQ(meta(), "x") << type;
  }
}

TEST_F(PlayerDisplay, FollowsThePhonesReportsAlsoOffScreen) {
  player.awake();
  player->didDeactivate();
  post({{"status", "playing"}, {"data", song("A")}});
  EXPECT_EQ(title() + playImage(), "APause");
  post({});
  center.postNotificationName(kNotificationFetchedNowPlayingData);
  EXPECT_EQ(title() + playImage(), "APause");
  post({{"data", song("B")}});
  EXPECT_EQ(title() + playImage(), "BPlay");
  EXPECT_EQ(player->mode(), 2U);
  post({{"status", "playing"}});  // without a song there is nothing to name
  EXPECT_EQ(title() + meta() + playImage(), "Pause");
}

TEST_F(PlayerDisplay, AnEmptyQueueOffersTheChartIfThereIsOne) {
  player.awake(PlistDictionary{{"data", song("A")}, {"status", "playing"}});
  delegate.setNowPlayingSong(song("A"));
  post({{"status", "empty"}});
  EXPECT_EQ(delegate.nowPlayingSong(), std::nullopt);
  EXPECT_EQ(title() + playImage(), "APause");
  EXPECT_EQ(player->mode(), 1U);

  storeChart({song("chart")});
  post({{"status", "empty"}});
  EXPECT_EQ(title() + ", " + meta(), "Weekly Top 15, Hindi");
  EXPECT_EQ(playImage(), "Play");
  EXPECT_EQ(player->mode(), 2U);
  // A report of a song shows it but does not end the placeholder.
  post({{"status", "playing"}, {"data", song("B")}});
  EXPECT_EQ(title() + playImage(), "BPause");
  EXPECT_TRUE(player->showingPlaceholder());
  player->resetMode();
  EXPECT_EQ(playImage(), "Play");
  EXPECT_EQ(player->mode(), 0U);
}

TEST_F(PlayerDisplay, EachActivationAsksWhatPlaysAndLeavesThePlaceholder) {
  storeChart({song("chart")});
  world.phone.setReachable(false);
  player.awake();
  player->willActivate();
  player->willActivate();
  const PlistDictionary request{{"request", "currentPlayingSong"}};
  EXPECT_EQ(world.phone.takeMessages(), Messages({request, request}));
  answer(playing(song("Now")));
  EXPECT_EQ(title() + playImage(), "NowPause");
  EXPECT_FALSE(player->showingPlaceholder());
  player->willActivate();
  answer(playing(song("Then"), "Playing"));
  EXPECT_EQ(title() + playImage(), "ThenPlay");
  player->willActivate();
  refuse("away");
  EXPECT_TRUE(takeLog().empty());
  EXPECT_TRUE(host.takeAlerts().empty());
}

TEST_F(PlayerDisplay, AUselessAnswerChangesNothing) {
  storeChart({song("chart")});
  player.awake();
  for (const PlistValue& odd : oneOfEachKind()) {
    const bool aSong = odd.dictionary() != nullptr && !odd.dictionary()->empty();
    const PlistDictionary archived{{"currentPlayingSong", PlistValue(archivedDataWithRootObject(odd))}};
    for (const PlistDictionary& reply :
         {PlistDictionary{{"currentPlayingSong", odd}}, archived, aSong ? archived : playing(odd)}) {
      player->willActivate();
      answer(reply);
      EXPECT_TRUE(player->showingPlaceholder());
      EXPECT_EQ(title(), "Weekly Top 15");
    }
  }
}

TEST_F(PlayerDisplay, OddFieldsAreShownAsEmpty) {
  player.awake();
  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.string()) continue;
    for (const char* type : {"song", "episode"}) {
      const PlistDictionary record{{"title", odd}, {"type", type}, {"more_info", odd}};
      post({{"status", odd}, {"data", record}});
      EXPECT_EQ(title(), "");
    }
    post({{"status", "playing"}, {"data", odd}});
    EXPECT_EQ(player->mode(), 1U);
  }
}

TEST_F(PlayerDisplay, ArtworkIsTakenWhenItComesAndKeptWhenItGoes) {
  player.awake();
  const ImagePtr artwork = picture(4, 4, 1);
  delegate.setCurrentMediaImage(artwork);
  center.postNotificationName(kNotificationFetchedNowPlayingImage);
  delegate.setCurrentMediaImage(nullptr);
  center.postNotificationName(kNotificationFetchedNowPlayingImage);
  EXPECT_EQ(player->bgGroupView->backgroundImage().image, artwork);
}

TEST_F(PlayerDisplay, ALeftScreenLivesUntilItsAnswerAndThenObservesNothing) {
  const auto before = world.services.notificationCenter.observerCount();
  player.awake();
  EXPECT_EQ(world.services.notificationCenter.observerCount(), before + 3);
  player->willActivate();
  const auto left = player.leave();
  EXPECT_FALSE(left.expired());
  answer(playing(song("late")));
  EXPECT_TRUE(left.expired());
  EXPECT_EQ(world.services.notificationCenter.observerCount(), before);
  post({{"status", "playing"}});
}

}  // namespace
}  // namespace tunevale::test
