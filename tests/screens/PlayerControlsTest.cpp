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
  std::optional<PlistValue> storedVolume() { return defaults.objectForKey("volume"); }
  static PlistDictionary volumeRequest(float level) {
    return {{"request", "volume"}, {"level", static_cast<double>(level)}};
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
  const auto expectTap = [this](const char* request, const char* toggled) {
    player->playButton->tap();
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", request}, {"weekly_top_15", 0}}}));
    EXPECT_EQ(shown(), toggled);
    EXPECT_EQ(ready(), "");
  };
  expectTap("playMedia", "||Pause|1");
  answer({});
  EXPECT_EQ(ready(), all);
  expectTap("pauseMedia", "||Play|2");
  refuse();
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  EXPECT_EQ(ready() + shown(), all + "||Play|2");
  expectTap("playMedia", "||Pause|1");
}

TEST_F(PlayerControls, EachButtonStartsTheChartInThePlaceholderUntilAnyAnswer) {
  const PlistArray chart{song("1"), song("2")};
  storeChart(chart);
  player.awake({});
  const PlistDictionary launch{{"request", "playWeeklyTop15"}, {"data", chart}, {"currentPosition", "0"}};
  for (auto* button : {player->playButton, player->prevButton, player->nextButton}) {
    button->tap();
    EXPECT_EQ(world.phone.takeMessages(), Messages({launch}));
    if (button == player->nextButton) break;
    refuse();
    EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
    EXPECT_EQ(ready(), all);
  }
  EXPECT_EQ(ready(), "spinner");
  answer({{"error", "No"}});
  EXPECT_EQ(ready(), all);
  // The toggle of the play button stays, and the image that the spinner took is not put back.
  EXPECT_EQ(shown(), "Weekly Top 15|Hindi||1");
  player->nextButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "nextMedia"}}}));
}

TEST_F(PlayerControls, TheVolumeStartsWhereItWasStored) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<PlistValue> volumes{4, 6.9, true, "7", "3 of 10", "loud", -2, "-999", nan, 11.5, 1e300};
  const std::vector<std::size_t> steps{4, 6, 1, 7, 3, 0, 0, 0, 0, 10, 10};
  std::vector<std::pair<PlistValue, std::size_t>> cases{{PlistValue(), 10}, {PlistArray{5}, 10}};
  for (std::size_t i = 0; i < steps.size(); ++i) cases.emplace_back(volumes[i], steps[i]);
  for (const auto& [stored, step] : cases) {
    defaults.setObject(stored, "volume");
    Player screen(world.platform, host);
    screen->volumePicker->setEnabled(false);
    screen.awake({});
    const auto* picker = screen->volumePicker;
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
  player->volumePicker->pick(7);
  EXPECT_EQ(player->volumeSlider->value(), 7.0F);
  EXPECT_EQ(storedVolume(), PlistValue(7.0));
  EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.7F)}));
  refuse();
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  player->volumePicker->pick(0);
  answer({{"error", "Muted"}});
  EXPECT_EQ(host.take(), Texts{alert("Muted")});
  world.phone.takeMessages();
  world.phone.setSupported(false);
  player->volumePicker->pick(3);
  EXPECT_EQ(storedVolume(), PlistValue(3.0));
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(PlayerControls, ThePhonesOwnVolumeIsNotSentBackButTheNextTurnIs) {
  player.awake({});
  const auto expectAfter = [this](const std::optional<PlistDictionary>& info, int step) {
    center.postNotificationName(kNotificationFetchedDeviceVolume, info);
    EXPECT_EQ(player->volumeSlider->value(), static_cast<float>(step));
    EXPECT_EQ(player->volumePicker->selectedItemIndex(), static_cast<std::size_t>(step));
    EXPECT_EQ(storedVolume(), PlistValue(static_cast<double>(step)));
    EXPECT_TRUE(world.phone.takeMessages().empty());
    player->volumePicker->pick(5);
    EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.5F)}));
  };
  expectAfter(PlistDictionary{{"volume", 4}}, 4);
  expectAfter(PlistDictionary{{"volume", "6"}}, 6);
  expectAfter(PlistDictionary{{"volume", 99.5}}, 10);
  // The same step again must end the guard too.
  center.postNotificationName(kNotificationFetchedDeviceVolume, PlistDictionary{{"volume", 5}});
  player->volumePicker->pick(1);
  EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.1F)}));

  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.number() || odd.string()) continue;
    center.postNotificationName(kNotificationFetchedDeviceVolume, PlistDictionary{{"volume", odd}});
    player->volumePicker->pick(2);
    player->volumePicker->pick(1);
    EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.2F), volumeRequest(0.1F)}));
  }
}

}  // namespace
}  // namespace tunevale::test
