#include "platform/Complications.h"
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

TEST_F(PlayerDisplay, AnOpeningWithASongShowsAndStoresIt) {
  const PlistArray artists{PlistDictionary{{"name", "Ana"}}};
  const PlistDictionary info{{"album", "Sky &quot;1&quot;"},
                             {"artistMap", PlistDictionary{{"primary_artists", artists}}}};
  const PlistDictionary opened{{"title", "Rain &amp; Sun"}, {"more_info", info}};
  const ImagePtr artwork = picture(4, 4);
  delegate.setNowPlayingSong(song("another"));
  delegate.setCurrentMediaImage(artwork);
  player.awake(PlistDictionary{{"view_type", "modal"}, {"data", opened}, {"status", "playing"}});
  EXPECT_EQ(player->title(), "< Player");
  EXPECT_EQ(shown(), "Rain & Sun|Sky \"1\" \u2013 Ana|Pause|1");
  EXPECT_EQ(player->bgGroupView->backgroundImage().image, artwork);
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), PlistValue(opened));
}

TEST_F(PlayerDisplay, AnOpeningWithoutASongShowsTheDelegates) {
  delegate.setNowPlayingSong(song("Known"));
  delegate.setIsPlayingMedia(true);
  storeChart({song("chart")});
  player.awake(PlistDictionary{{"data", PlistDictionary()}, {"status", "paused"}, {"view_type", "push"}});
  EXPECT_EQ(player->title(), "");
  EXPECT_EQ(shown(), "Known||Pause|1");
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), std::nullopt);
}

TEST_F(PlayerDisplay, TheStoredChartIsOfferedWhenNothingPlaysAndLeavesModeAndButton) {
  storeChart({song("chart")});
  for (const auto& [language, meta] :
       {std::pair("", "Hindi"), {"tamil", "Tamil"}, {"old ENGLISH", "Old English"}}) {
    defaults.setObject(PlistValue(language), "kUserLanguage");
    Player screen(world.platform, host);
    screen.awake(PlistDictionary());
    EXPECT_EQ(shown(screen), std::string("Weekly Top 15|") + meta + "||0|placeholder");
  }
  for (const PlistValue& odd : oneOfEachKind()) {  // of another form, it is none
    defaults.setObject(odd, kReceiveWeeklyTop15Data);
    Player screen(world.platform, host);
    screen.awake(odd);
    EXPECT_EQ(shown(screen), "|||0");
  }
}

TEST_F(PlayerDisplay, OnlyAnEpisodeShowsItsShowAndSeason) {
  player.awake({});
  const PlistDictionary info{{"show_title", "Day &#39;n"}, {"season_number", "3"}, {"album", "Album"}};
  for (const char* type : {"episode", "Episode", "song", ""}) {
    post({{"data", PlistDictionary{{"type", type}, {"title", "P &gt;"}, {"more_info", info}}}});
    EXPECT_EQ(shown(),
              std::string(type) == "episode" ? "P >|Day 'n \u2013 Season 3|Play|2" : "P >|Album|Play|2");
  }
}

TEST_F(PlayerDisplay, FollowsThePhonesReportsAlsoOffScreen) {
  player.awake({});
  player->didDeactivate();
  post({{"status", "playing"}, {"data", song("A")}});
  post({});
  center.postNotificationName(kNotificationFetchedNowPlayingData);
  EXPECT_EQ(shown(), "A||Pause|1");
  for (const PlistValue& odd : oneOfEachKind()) {
    const PlistDictionary record{{"title", odd}, {"type", odd}, {"more_info", odd}};
    post({{"status", odd}, {"data", record}});
    EXPECT_EQ(player->mode(), 2U);
    post({{"status", "playing"}, {"data", odd}});
    EXPECT_EQ(shown(), "||Pause|1");
  }
}

TEST_F(PlayerDisplay, AnEmptyQueueOffersTheChartIfThereIsOne) {
  player.awake(PlistDictionary{{"data", song("A")}, {"status", "playing"}});
  delegate.setNowPlayingSong(song("A"));
  post({{"status", "empty"}});
  EXPECT_EQ(delegate.nowPlayingSong(), std::nullopt);
  EXPECT_EQ(shown(), "A||Pause|1");
  storeChart({song("chart")});
  post({{"status", "empty"}});
  EXPECT_EQ(shown(), "Weekly Top 15|Hindi|Play|2|placeholder");
  post({{"status", "playing"}, {"data", song("B")}});  // shown, but the placeholder stays
  EXPECT_EQ(shown(), "B||Pause|1|placeholder");
  player->resetMode();
  EXPECT_EQ(shown(), "B||Play|0|placeholder");
}

TEST_F(PlayerDisplay, WhatComesBehindAnEmptiedQueueStaysOnRecord) {
  const PlistDictionary emptied{{"request", "queue_empty"}};
  const auto deliver = [this](const char* key, const char* title) {
    world.phone.deliverMessageData(archivedDataWithRootObject(PlistDictionary{{key, song(title)}}));
  };
  world.phone.setDelegate(&delegate);
  player.awake({});
  // Everything arrives before the main queue comes to the first of it.
  world.phone.deliverMessage(emptied);
  deliver("appPlaying", "A");
  world.settle();
  EXPECT_EQ(delegate.nowPlayingSong(), song("A"));
  EXPECT_TRUE(delegate.isPlayingMedia());
  EXPECT_EQ(shown(), "A||Pause|1");
  world.phone.deliverMessage(emptied);
  deliver("appPaused", "A");  // nothing new, and yet a report
  world.settle();
  EXPECT_EQ(delegate.nowPlayingSong(), song("A"));
  deliver("appPlaying", "B");
  world.phone.deliverMessage(emptied);
  world.settle();
  EXPECT_EQ(delegate.nowPlayingSong(), std::nullopt);
  EXPECT_FALSE(delegate.isPlayingMedia());
}

TEST_F(PlayerDisplay, NoTextIsLongerThanAWristReads) {
  const std::string most(kLongestShownText - 1, 'x');
  const std::string more = most + "\u0916";
  const PlistDictionary endless{{"title", more + std::string(900'000, '&')},
                                {"more_info", PlistDictionary{{"album", std::string(900'000, '&')}}}};
  player.awake(PlistDictionary{{"data", endless}});
  EXPECT_EQ(player->songMetaLabel->text(), std::string(kLongestShownText, '&'));
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), PlistValue(endless));  // what is not shown stays whole
  player->setTitle(more);
  player->playButton->setTitle(more);
  WKPickerItem item;
  item.setTitle(more);
  item.setCaption(more);
  for (const auto& text : {player->songTitleLabel->text(), player->title(), player->playButton->title(),
                           item.title(), item.caption(), CLKComplicationTemplate(more).text()}) {
    EXPECT_EQ(text, most);  // no half character
  }
  player->presentAlertControllerWithTitle(more, more, {}, {{more, {}, {}}});
  EXPECT_EQ(host.take(), Texts{"alert " + most + ": " + most + " [" + most + "]"});
}

TEST_F(PlayerDisplay, EachActivationAsksWhatPlaysAndAGoodAnswerEndsThePlaceholder) {
  storeChart({song("chart")});
  world.phone.setReachable(false);
  player.awake({});
  for (const PlistValue& odd : oneOfEachKind()) {
    const PlistValue archived(archivedDataWithRootObject(odd));
    std::vector<PlistDictionary> useless{{{"currentPlayingSong", odd}}, {{"currentPlayingSong", archived}}};
    if (odd.dictionary() == nullptr || odd.dictionary()->empty()) useless.push_back(playing(odd));
    for (const PlistDictionary& reply : useless) {
      player->willActivate();
      EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "currentPlayingSong"}}}));
      answer(reply);
      EXPECT_EQ(shown(), "Weekly Top 15|Hindi||0|placeholder");
    }
  }
  player->willActivate();
  answer(playing(song("Now")));
  EXPECT_EQ(shown(), "Now||Pause|1");
  player->willActivate();
  answer(playing(song("Then"), "Playing"));
  EXPECT_EQ(shown(), "Then||Play|2");
  player->willActivate();
  refuse();
  EXPECT_TRUE(takeLog().empty());
}

TEST_F(PlayerDisplay, ArtworkIsTakenWhenItComesAndKeptWhenItGoes) {
  const ImagePtr artwork = picture(4, 4);
  player.awake({});
  delegate.setCurrentMediaImage(artwork);
  center.postNotificationName(kNotificationFetchedNowPlayingImage);
  delegate.setCurrentMediaImage(nullptr);
  center.postNotificationName(kNotificationFetchedNowPlayingImage);
  EXPECT_EQ(player->bgGroupView->backgroundImage().image, artwork);
}

TEST_F(PlayerDisplay, ALeftScreenLivesUntilItsAnswersAndThenObservesNothing) {
  const auto observers = [this] { return world.services.notificationCenter.observerCount(); };
  const std::size_t before = observers();
  for (const int request : {0, 1, 2, 3, 4, 5}) {
    Player screen(world.platform, host);
    screen.awake({});
    if (request % 3 == 0) screen->willActivate();
    if (request % 3 == 1) screen->nextButton->tap();
    if (request % 3 == 2) screen->volumePicker->pick(1 - screen->volumePicker->selectedItemIndex() % 2);
    EXPECT_EQ(observers(), before + 3);
    const auto left = screen.leave();
    EXPECT_FALSE(left.expired());
    request < 3 ? refuse() : answer(playing(song("late")));
    EXPECT_TRUE(left.expired());
    EXPECT_EQ(observers(), before);
  }
}

}  // namespace
}  // namespace tunevale::test
