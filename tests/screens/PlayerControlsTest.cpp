#include <limits>

#include "screens/ScreensFixture.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

struct PlayerControls : PlayerTest {
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
};

TEST_F(PlayerControls, PreviousAndNextSpinUntilTheAnswerAndDifferAfterAFailure) {
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

TEST_F(PlayerControls, PlayTogglesAtOnceAndNeverTakesItBack) {
  player.awake({});
  for (const bool pauses : {false, true}) {
    const std::string toggled = pauses ? "||Play|2" : "||Pause|1";
    player->playButton->tap();
    const char* request = pauses ? "pauseMedia" : "playMedia";
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", request}, {"weekly_top_15", 0}}}));
    EXPECT_EQ(ready() + shown(), toggled);
    pauses ? refuse() : answer({});
    EXPECT_EQ(ready() + shown(), all + toggled);
    EXPECT_EQ(takeLog(), pauses ? Texts{"Error handling message: away"} : Texts{});
  }
}

TEST_F(PlayerControls, EachButtonStartsTheChartInThePlaceholderUntilAnyAnswer) {
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
  // The toggle of the play button stays, and the image that the spinner took is not put back.
  EXPECT_EQ(shown(), "Weekly Top 15|Hindi||1");
  player->nextButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "nextMedia"}}}));
}

TEST_F(PlayerControls, TheVolumeStartsWhereItWasStored) {
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

TEST_F(PlayerControls, TheCrownStoresAndSendsTenthsInSinglePrecision) {
  player.awake({});
  world.phone.setReachable(false);
  turn(7);
  refuse();
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  turn(0);
  answer({{"error", "Muted"}});
  EXPECT_EQ(host.take(), Texts{alert("Muted")});
  world.phone.setSupported(false);
  player->volumePicker->pick(3);
  EXPECT_EQ(defaults.objectForKey("volume"), PlistValue(3.0));
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(PlayerControls, ThePhonesOwnVolumeIsNotSentBackButTheNextTurnIs) {
  player.awake({});
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
}

}  // namespace
}  // namespace tunevale::test
