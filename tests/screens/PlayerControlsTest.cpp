#include <limits>

#include "screens/ScreensFixture.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

struct PlayerControls : PlayerTest {
  bool spins() { return player->playButtonGroup->animation().has_value(); }
  std::optional<double> storedVolume() {
    const auto stored = defaults.objectForKey("volume");
    return stored ? stored->real() : std::nullopt;
  }
  static PlistDictionary volumeRequest(float level) {
    return {{"request", "volume"}, {"level", static_cast<double>(level)}};
  }
  const PlistArray chart{song("1"), song("2")};
  const PlistDictionary launch{{"request", "playWeeklyTop15"}, {"data", chart}, {"currentPosition", "0"}};
};

TEST_F(PlayerControls, PreviousAndNextHoldTheButtonsAndSpinUntilTheAnswer) {
  player.awake();
  for (auto* button : {player->prevButton, player->nextButton}) {
    EXPECT_TRUE(button->tap());
    EXPECT_TRUE(buttonsAre(false));
    EXPECT_FALSE(button->tap());
    EXPECT_FALSE(player->playButton->tap());
    EXPECT_EQ(playImage(), "");
    EXPECT_EQ(player->playButtonGroup->backgroundImage().name, "spinner");
    EXPECT_EQ(player->playButtonGroup->animation(), (FrameAnimation{0, 11, 0.8, 0}));
    const char* request = button == player->prevButton ? "prevMedia" : "nextMedia";
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", request}}}));
    answer({});
    EXPECT_TRUE(buttonsAre(true));
    EXPECT_EQ(playImage(), "Pause");
    EXPECT_FALSE(spins());
    EXPECT_EQ(player->playButtonGroup->backgroundImage().name, "");
    EXPECT_EQ(player->mode(), 0U);
  }
}

TEST_F(PlayerControls, AFailedPreviousShowsPauseAndAFailedNextPlay) {
  player.awake();
  player->prevButton->tap();
  refuse("away");
  EXPECT_EQ(playImage(), "Pause");
  EXPECT_TRUE(buttonsAre(true) && !spins());
  player->nextButton->tap();
  refuse("gone");
  EXPECT_EQ(playImage(), "Play");
  EXPECT_TRUE(buttonsAre(true) && !spins());
  EXPECT_EQ(takeLog(), (Texts{"Error handling message: away", "Error handling message: gone"}));
  EXPECT_TRUE(host.takeAlerts().empty());
}

TEST_F(PlayerControls, PlayTogglesAtOnceAndNeverTakesItBack) {
  player.awake();
  const auto request = [](const char* name) {
    return PlistDictionary{{"request", name}, {"weekly_top_15", 0}};
  };
  player->playButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({request("playMedia")}));
  EXPECT_EQ(playImage(), "Pause");
  EXPECT_TRUE(buttonsAre(false) && !spins());
  answer({});
  EXPECT_TRUE(buttonsAre(true));
  player->playButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({request("pauseMedia")}));
  refuse("away");
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  EXPECT_EQ(playImage(), "Play");
  EXPECT_EQ(player->mode(), 2U);
  EXPECT_TRUE(buttonsAre(true));
  player->playButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({request("playMedia")}));
}

TEST_F(PlayerControls, ARefusalIsShownFirstAndTheButtonsComeBackAllTheSame) {
  player.awake();
  host.atAlert = [this] { EXPECT_TRUE(buttonsAre(false)); };
  for (auto* button : {player->prevButton, player->playButton, player->nextButton}) {
    button->tap();
    answer({{"error", "Not now"}});
    EXPECT_EQ(host.takeAlerts(), Texts{alert("Not now")});
    EXPECT_TRUE(buttonsAre(true));
  }
  for (const PlistValue& odd : oneOfEachKind()) {
    if (!odd.string().value_or("").empty()) continue;
    player->playButton->tap();
    answer({{"error", odd}});
    EXPECT_TRUE(host.takeAlerts().empty());
    EXPECT_TRUE(buttonsAre(true));
  }
}

TEST_F(PlayerControls, EachButtonStartsTheChartInThePlaceholder) {
  storeChart(chart);
  player.awake();
  player->playButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({launch}));
  EXPECT_EQ(playImage(), "Pause");
  refuse("away");
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  EXPECT_TRUE(player->showingPlaceholder() && buttonsAre(true));

  player->prevButton->tap();
  refuse("away");
  player->nextButton->tap();
  EXPECT_TRUE(spins());
  EXPECT_EQ(world.phone.takeMessages(), Messages({launch, launch}));
  // Any answer, a refusal too, ends the placeholder; the image that the spinner took is not put back.
  answer({{"error", "No"}});
  EXPECT_EQ(host.takeAlerts(), Texts{alert("No")});
  EXPECT_FALSE(player->showingPlaceholder());
  EXPECT_TRUE(buttonsAre(true) && !spins());
  EXPECT_EQ(playImage(), "");
  player->nextButton->tap();
  EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "nextMedia"}}}));
}

TEST_F(PlayerControls, TheVolumeStartsWhereItWasStored) {
  const std::vector<std::pair<PlistValue, std::size_t>> cases{{PlistValue(), 10},
                                                              {4, 4},
                                                              {6.9, 6},
                                                              {"7", 7},
                                                              {"3 of 10", 3},
                                                              {"loud", 0},
                                                              {-2, 0},
                                                              {11.5, 10},
                                                              {1e300, 10},
                                                              {std::numeric_limits<double>::quiet_NaN(), 0},
                                                              {true, 1},
                                                              {PlistArray{5}, 10},
                                                              {PlistDictionary(), 10},
                                                              {"", 0},
                                                              {PlistValue(Bytes(1)), 10}};
  for (const auto& [stored, step] : cases) {
    defaults.setObject(stored, "volume");
    const auto screen = makePlayer();
    (*screen)->volumePicker->setEnabled(false);
    screen->awake();
    const auto* picker = (*screen)->volumePicker;
    EXPECT_EQ(picker->selectedItemIndex(), step);
    EXPECT_EQ((*screen)->volumeSlider->value(), static_cast<float>(step));
    EXPECT_EQ(picker->items().size(), 11U);
    EXPECT_EQ(picker->items()[5].title(), "");
    EXPECT_TRUE(picker->isEnabled() && picker->isFocused());
  }
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(PlayerControls, TheCrownStoresAndSendsTenthsInSinglePrecision) {
  player.awake();
  world.phone.setReachable(false);
  EXPECT_TRUE(player->volumePicker->pick(7));
  EXPECT_EQ(player->volumeSlider->value(), 7.0F);
  EXPECT_EQ(storedVolume(), 7.0);
  EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.7F)}));
  refuse("away");
  EXPECT_EQ(takeLog(), Texts{"Error handling message: away"});
  player->volumePicker->pick(0);
  EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.0F)}));
  answer({{"error", "Muted"}});
  EXPECT_EQ(host.takeAlerts(), Texts{alert("Muted")});
  world.phone.setSupported(false);
  player->volumePicker->pick(3);
  EXPECT_EQ(storedVolume(), 3.0);
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(PlayerControls, ThePhonesOwnVolumeIsNotSentBack) {
  player.awake();
  const auto post = [&](const PlistValue& volume) {
    center.postNotificationName(kNotificationFetchedDeviceVolume, PlistDictionary{{"volume", volume}});
  };
  // Also when the step does not change, so that the guard cannot swallow the person's next turn.
  for (const PlistValue& volume : {PlistValue(4), PlistValue(4.8), PlistValue("4")}) {
    post(volume);
    EXPECT_EQ(player->volumePicker->selectedItemIndex(), 4U);
    EXPECT_EQ(player->volumeSlider->value(), 4.0F);
    EXPECT_EQ(storedVolume(), 4.0);
  }
  EXPECT_TRUE(world.phone.takeMessages().empty());
  player->volumePicker->pick(5);
  EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.5F)}));

  post(99);
  EXPECT_EQ(storedVolume(), 10.0);
  for (const PlistValue& odd : oneOfEachKind()) {
    if (!odd.number() && !odd.string()) post(odd);
  }
  center.postNotificationName(kNotificationFetchedDeviceVolume);
  center.postNotificationName(kNotificationFetchedDeviceVolume, PlistDictionary{{"level", 1}});
  EXPECT_EQ(player->volumePicker->selectedItemIndex(), 10U);
  player->volumePicker->pick(9);
  EXPECT_EQ(world.phone.takeMessages(), Messages({volumeRequest(0.9F)}));
}

TEST_F(PlayerControls, AnswersAfterTheScreenWasLeftFindItAlive) {
  player.awake();
  player->nextButton->tap();
  player->volumePicker->pick(1);
  const auto left = player.leave();
  world.phone.reply(0, {{"error", "late"}});
  world.phone.fail(1, {7007, "late"});
  EXPECT_FALSE(left.expired());
  world.settle();
  EXPECT_TRUE(left.expired());
}

}  // namespace
}  // namespace tunevale::test
