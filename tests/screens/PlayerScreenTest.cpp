#include <limits>

#include "platform/Complications.h"
#include "screens/PlayerInterfaceController.h"
#include "screens/ScreensFixture.h"
#include "support/Pictures.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

struct PlayerScreen : ExtensionTest {
  using Player = ShownScreen<PlayerInterfaceController>;
  /// "TITLE|META|IMAGE OF THE PLAY BUTTON|MODE", and "|placeholder" where that is shown.
  static std::string shown(const Player& screen) {
    return screen->songTitleLabel->text() + "|" + screen->songMetaLabel->text() + "|" +
           screen->playButton->backgroundImage().name + "|" + std::to_string(screen->mode()) +
           (screen->showingPlaceholder() ? "|placeholder" : "");
  }
  std::string shown() { return shown(player); }
  void post(const PlistDictionary& info) {
    center.postNotificationName(kNotificationFetchedNowPlayingData, info);
  }
  /// What the phone plays, as it answers an activation.
  static PlistDictionary playing(const PlistValue& song, const PlistValue& status = "playing") {
    const PlistDictionary state{{"songInfo", song}, {"status", status}};
    return {{"currentPlayingSong", PlistValue(archivedDataWithRootObject(state))}};
  }
  std::string opened(const PlistValue& context) {
    Player screen(world.platform, host);
    screen.awake(context);
    return shown(screen);
  }
  /// "NAME NAME..." of the buttons that work, and "spinner" while it turns.
  std::string ready() {
    std::string text;
    for (const auto* button : {player->prevButton, player->playButton, player->nextButton}) {
      if (button->isEnabled()) text += button->attributes().outlet + " ";
    }
    return text +
           (player->playButtonGroup->animation() ? player->playButtonGroup->backgroundImage().name : "");
  }
  const std::string all = "prevButton playButton nextButton ";
  /// A turn of the crown, which is stored and sent on.
  void turn(int step) {
    player->volumePicker->pick(step);
    EXPECT_EQ(player->volumeSlider->value(), static_cast<float>(step));
    EXPECT_EQ(defaults.objectForKey("volume"), PlistValue(static_cast<double>(step)));
    const double level = static_cast<float>(step) / 10.0F;
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "volume"}, {"level", level}}}));
  }

  Player player{world.platform, host};
};

TEST_F(PlayerScreen, OpensWithTheSongOfTheContextOrOfTheDelegate) {
  const PlistArray artists{PlistDictionary{{"name", "Ana"}}};
  const PlistDictionary info{{"album", "Sky &quot;1&quot;"},
                             {"artistMap", PlistDictionary{{"primary_artists", artists}}}};
  const PlistDictionary given{{"title", "Rain &amp; Sun"}, {"more_info", info}};
  const ImagePtr artwork = picture(4, 4);
  const ImagePtr next = picture(4, 4, 1);
  storeChart({song("chart")});
  delegate.setNowPlayingSong(song("Known"));
  delegate.setCurrentMediaImage(artwork);
  for (const bool plays : {true, false}) {
    delegate.setIsPlayingMedia(plays);
    const PlistDictionary context{{"data", PlistDictionary()}, {"status", plays ? "paused" : "playing"}};
    EXPECT_EQ(opened(context), plays ? "Known||Pause|1" : "Known||Play|2");
  }
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), std::nullopt);
  player.awake(PlistDictionary{{"view_type", "modal"}, {"data", given}, {"status", "playing"}});
  EXPECT_EQ(player->title(), "< Player");
  EXPECT_EQ(shown(), "Rain & Sun|Sky \"1\" \u2013 Ana|Pause|1");
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), PlistValue(given));
  EXPECT_EQ(player->bgGroupView->backgroundImage().image, artwork);
  for (const ImagePtr& fetched : {next, ImagePtr()}) {
    delegate.setCurrentMediaImage(fetched);
    center.postNotificationName(kNotificationFetchedNowPlayingImage);
    EXPECT_EQ(player->bgGroupView->backgroundImage().image, next);
  }
}

TEST_F(PlayerScreen, TheStoredChartIsOfferedWhenNothingPlaysAndLeavesModeAndButton) {
  storeChart({song("chart")});
  defaults.setObject(PlistValue("old ENGLISH"), "kUserLanguage");
  EXPECT_EQ(opened(PlistDictionary()), "Weekly Top 15|Old English||0|placeholder");
  for (const PlistValue& odd : oneOfEachKind()) {  // of another form, it is none
    defaults.setObject(odd, kReceiveWeeklyTop15Data);
    EXPECT_EQ(opened(odd), "|||0");
  }
}

TEST_F(PlayerScreen, FollowsThePhonesReportsAlsoOffScreen) {
  player.awake(PlistDictionary{{"view_type", "push"}});
  EXPECT_EQ(player->title(), "");
  player->didDeactivate();
  const PlistDictionary info{{"show_title", "Day &#39;n"}, {"season_number", "3"}, {"album", "Album"}};
  for (const std::string type : {"episode", "Episode", "song", ""}) {
    post({{"data", PlistDictionary{{"type", type}, {"title", "P &gt;"}, {"more_info", info}}}});
    EXPECT_EQ(shown(), type == "episode" ? "P >|Day 'n \u2013 Season 3|Play|2" : "P >|Album|Play|2");
  }
  post({{"status", "playing"}, {"data", song("A")}});
  post({});
  center.postNotificationName(kNotificationFetchedNowPlayingData);
  EXPECT_EQ(shown(), "A||Pause|1");
}

TEST_F(PlayerScreen, AnEmptiedQueueOffersTheChartAndKeepsWhatComesBehindIt) {
  const auto empty = [this] { world.phone.deliverMessage({{"request", "queue_empty"}}); };
  const auto report = [this](const char* key, const char* title) {
    world.phone.deliverMessageData(archivedDataWithRootObject(PlistDictionary{{key, song(title)}}));
  };
  const auto afterAll = [this] {
    world.settle();
    return shown();
  };
  world.phone.setDelegate(&delegate);
  player.awake({});
  // Everything arrives before the main queue comes to the first of it; the same song again is a report too.
  for (const bool plays : {true, false}) {
    empty();
    report(plays ? "appPlaying" : "appPaused", "A");
    EXPECT_EQ(afterAll(), "A||Pause|1");
    EXPECT_EQ(delegate.nowPlayingSong(), song("A"));
    EXPECT_EQ(delegate.isPlayingMedia(), plays);
  }
  report("appPlaying", "B");
  empty();
  EXPECT_EQ(afterAll(), "B||Pause|1");
  EXPECT_EQ(delegate.nowPlayingSong(), std::nullopt);
  EXPECT_FALSE(delegate.isPlayingMedia());
  storeChart({song("chart")});
  empty();
  EXPECT_EQ(afterAll(), "Weekly Top 15|Hindi|Play|2|placeholder");
  report("appPlaying", "C");  // shown, but the placeholder stays
  EXPECT_EQ(afterAll(), "C||Pause|1|placeholder");
}

TEST_F(PlayerScreen, NoTextIsLongerThanAWristReads) {
  const std::string most(kLongestShownText - 1, 'x');
  const std::string more = most + "\u0916";
  const std::string endless(900'000, '&');
  const PlistDictionary given{{"title", more + endless}, {"more_info", PlistDictionary{{"album", endless}}}};
  player.awake(PlistDictionary{{"data", given}});
  EXPECT_EQ(player->songMetaLabel->text(), std::string(kLongestShownText, '&'));
  EXPECT_EQ(defaults.objectForKey("nowPlayingSong"), PlistValue(given));  // what is not shown stays whole
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

TEST_F(PlayerScreen, EachActivationAsksWhatPlaysAndAGoodAnswerEndsThePlaceholder) {
  storeChart({song("chart")});
  world.phone.setReachable(false);
  player.awake({});
  const auto activate = [this](const PlistDictionary& reply) {
    player->willActivate();
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "currentPlayingSong"}}}));
    answer(reply);
    return shown();
  };
  for (const PlistValue& odd : oneOfEachKind()) {
    EXPECT_EQ(activate({{"currentPlayingSong", odd}}), "Weekly Top 15|Hindi||0|placeholder");
    if (odd.dictionary() != nullptr && !odd.dictionary()->empty()) continue;
    EXPECT_EQ(activate(playing(odd)), "Weekly Top 15|Hindi||0|placeholder");
  }
  EXPECT_EQ(activate(playing(song("Now"))), "Now||Pause|1");
  EXPECT_EQ(activate(playing(song("Then"), "Playing")), "Then||Play|2");
  player->willActivate();
  const auto left = player.leave();
  EXPECT_FALSE(left.expired());  // until the answer
  refuse();
  EXPECT_TRUE(left.expired());
  EXPECT_TRUE(takeLog().empty());
}

TEST_F(PlayerScreen, PreviousAndNextSpinUntilTheAnswerAndDifferAfterAFailure) {
  player.awake({});
  for (const bool previous : {true, false}) {
    auto* button = previous ? player->prevButton : player->nextButton;
    for (const bool fails : {false, true}) {
      EXPECT_TRUE(button->tap());
      EXPECT_EQ(ready(), "spinner");
      EXPECT_EQ(player->playButtonGroup->animation(), (FrameAnimation{0, 11, 0.8, 0}));
      EXPECT_EQ(shown(), "|||0");
      EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", previous ? "prevMedia" : "nextMedia"}}}));
      fails ? refuse() : answer({});
      EXPECT_EQ(ready(), all);
      EXPECT_EQ(player->playButtonGroup->backgroundImage().name, "");
      EXPECT_EQ(shown(), fails && !previous ? "||Play|0" : "||Pause|0");
      EXPECT_EQ(takeLog(), fails ? Texts{"Error handling message: away"} : Texts{});
    }
  }
}

TEST_F(PlayerScreen, PlayTogglesAtOnceAndNeverTakesItBack) {
  player.awake({});
  for (const bool pauses : {false, true}) {
    const std::string toggled = pauses ? "||Play|2" : "||Pause|1";
    player->playButton->tap();
    const char* request = pauses ? "pauseMedia" : "playMedia";
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", request}, {"weekly_top_15", 0}}}));
    EXPECT_EQ(ready() + shown(), toggled);
    pauses ? refuse() : answer({});
    EXPECT_EQ(ready() + shown(), all + toggled);
  }
}

TEST_F(PlayerScreen, EachButtonStartsTheChartInThePlaceholderUntilAnyAnswer) {
  const PlistArray chart{song("1"), song("2")};
  const PlistDictionary launch{{"request", "playWeeklyTop15"}, {"data", chart}, {"currentPosition", "0"}};
  storeChart(chart);
  player.awake({});
  for (auto* button : {player->playButton, player->prevButton, player->nextButton}) {
    button->tap();
    EXPECT_EQ(world.phone.takeMessages(), Messages({launch}));
    EXPECT_EQ(ready(), button == player->playButton ? "" : "spinner");
    button == player->nextButton ? answer({{"error", "No"}}) : refuse();
    EXPECT_EQ(ready(), all);
  }
  EXPECT_EQ(takeLog(), Texts(2, "Error handling message: away"));
  EXPECT_EQ(host.take(), Texts{alert("No")});
  // The toggle of the play button stays, and the image that the spinner took is not put back.
  EXPECT_EQ(shown(), "Weekly Top 15|Hindi||1");
  player->nextButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "nextMedia"}}}));
}

TEST_F(PlayerScreen, TheVolumeStartsWhereItWasStored) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<PlistValue, std::size_t> cases[] = {
      {PlistValue(), 10}, {PlistArray{5}, 10}, {4, 4},      {6.9, 6}, {true, 1},
      {"7", 7},           {"3 of 10", 3},      {"loud", 0}, {-2, 0},  {"-999", 0},
      {nan, 0},           {11.5, 10},          {1e300, 10}};
  for (const auto& [stored, step] : cases) {
    defaults.setObject(stored, "volume");
    Player screen(world.platform, host);
    const auto* picker = screen->volumePicker;
    screen->volumePicker->setEnabled(false);
    screen.awake({});
    EXPECT_EQ(picker->items().size(), 11U);
    EXPECT_EQ(picker->selectedItemIndex(), step);
    EXPECT_EQ(screen->volumeSlider->value(), static_cast<float>(step));
    EXPECT_TRUE(picker->isEnabled() && picker->isFocused());
  }
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(PlayerScreen, TheCrownSendsTenthsInSinglePrecisionButNotThePhonesOwnVolume) {
  player.awake({});
  world.phone.setReachable(false);
  turn(7);
  refuse();
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  turn(0);
  answer({{"error", "Muted"}});
  EXPECT_EQ(host.take(), Texts{alert("Muted")});
  const std::pair<PlistValue, int> cases[] = {{4, 4}, {"6", 6}, {99.5, 10}, {0, 0}};
  for (const auto& [volume, step] : cases) {
    center.postNotificationName(kNotificationFetchedDeviceVolume, PlistDictionary{{"volume", volume}});
    EXPECT_EQ(player->volumeSlider->value(), static_cast<float>(step));
    EXPECT_EQ(player->volumePicker->selectedItemIndex(), static_cast<std::size_t>(step));
    EXPECT_EQ(defaults.objectForKey("volume"), PlistValue(static_cast<double>(step)));
    EXPECT_TRUE(world.phone.takeMessages().empty());
    turn(step == 10 ? 0 : 5);  // to where the phone is next: the same step ends the guard too
  }
  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.number() || odd.string()) continue;
    center.postNotificationName(kNotificationFetchedDeviceVolume, PlistDictionary{{"volume", odd}});
    for (const int step : {2, 1}) turn(step);
  }
  world.phone.setSupported(false);
  player->volumePicker->pick(3);
  EXPECT_EQ(defaults.objectForKey("volume"), PlistValue(3.0));
  defaults.setObject(std::nullopt, "volume");
  player->volumePicker->pick(3);
  EXPECT_FALSE(defaults.objectForKey("volume")) << "it was there already";
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

}  // namespace
}  // namespace tunevale::test
