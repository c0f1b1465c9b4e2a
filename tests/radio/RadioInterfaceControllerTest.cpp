#include "radio/RadioInterfaceController.h"
#include "radio/RadioManager.h"
#include "radio/StationsForTests.h"
#include "support/Pictures.h"
#include "support/ScreenHarness.h"
#include "util/ArtworkPath.h"
#include "util/PlayRequests.h"
#include "util/ShownLimits.h"

namespace tunevale::test {
namespace {

using WatchUtil::kPlayColor;
using WatchUtil::kPressedColor;

struct StationPicker : ScreenTest {
  using Screen = ShownScreen<RadioInterfaceController>;
  void writeArtwork(const std::string& fileName, ByteView contents) {
    const std::string home = world.platform.homeDirectory;
    world.platform.fileManager.createDirectoryAtPath(artworkDirectory(home));
    ASSERT_FALSE(world.platform.fileManager.writeAtomically(contents, *artworkPath(home, fileName)));
  }
  const WKPickerItem& item(std::size_t index) { return picker->radioPicker->items().at(index); }
  /// The station that a tap sends, if it sends one.
  std::optional<PlistValue> played(Screen& screen) {
    world.phone.takeMessages();
    screen.act("playRadio");
    const Messages sent = world.phone.takeMessages();
    return sent.empty() ? std::nullopt : std::optional(*sent.at(0).find("dataSource"));
  }
  const PlistArray three{station("one", "tamil", "#FF8000"), station("two WAYS"), station("three")};
  Screen picker{world.platform, host};
};

TEST_F(StationPicker, StartsAtTheContextsIndexWithTheFirstStationsColour) {
  PlistDictionary context = stationContext(three);
  context.set("currentIndex", "2");
  picker.awake(context);
  ASSERT_EQ(picker->radioPicker->items().size(), 3U);
  EXPECT_EQ(picker->radioPicker->selectedItemIndex(), 2U);
  EXPECT_TRUE(picker->radioPicker->isFocused());
  EXPECT_EQ(item(1).title(), "two WAYS");
  EXPECT_EQ(item(1).caption(), "two WAYS");
  EXPECT_EQ(item(1).contentImage(), nullptr);
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.5F));
  EXPECT_EQ(picker->backgroundGroup->backgroundImage(), ImageSource());
  EXPECT_EQ(picker->playButtonGroup->backgroundColor(), (Color{0.16862746F, 0.67058825F, 0.28235295F, 1.0F}));
  EXPECT_EQ(picker->titleLabel->text(), "");  // until the crown moves
  EXPECT_EQ(played(picker), *three.at(2));
}

TEST_F(StationPicker, OnlyATextIsAnIndex) {
  const std::vector<std::pair<PlistValue, std::optional<PlistValue>>> cases{
      {2, *three.at(0)},   {"abc", *three.at(0)},         {" 1 of 3", *three.at(1)},
      {"", *three.at(0)},  {PlistArray{2}, *three.at(0)}, {"3", std::nullopt},
      {"-1", std::nullopt}};
  for (const auto& [index, expected] : cases) {
    Screen screen{world.platform, host};
    PlistDictionary context = stationContext(three);
    context.set("currentIndex", index);
    screen.awake(context);
    EXPECT_EQ(played(screen), expected);
  }
}

TEST_F(StationPicker, TheCrownShowsAndColoursTheStation) {
  picker.awake(stationContext(three, "artist"));
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), std::nullopt);
  EXPECT_TRUE(picker->radioPicker->pick(1));
  EXPECT_EQ(picker->titleLabel->text(), "Two Ways");
  EXPECT_EQ(picker->metaLabel->text(), "Hindi");
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), Color::ofBytes(16, 32, 48, 0.5F));
  EXPECT_EQ(picker->backgroundGroup->backgroundImage().name, "of the layout");
  EXPECT_EQ(played(picker), *three.at(1));
}

TEST_F(StationPicker, ArtworkComesFromMemoryThenFromDisk) {
  const ImagePtr cached = picture(4, 4, 1);
  writeArtwork("one_image.png", pngPicture(4, 4, 2));
  writeArtwork("two_WAYS_image.png", pngPicture(4, 4, 3));
  writeArtwork("three_image.png", asBytes("no picture"));
  RadioManager& radio = RadioManager::sharedManager(world.platform);
  radio.addImageToCache(cached, "one_image.png");
  picker.awake(stationContext(three));
  ASSERT_TRUE(item(0).contentImage() && item(1).contentImage());
  EXPECT_EQ(item(0).contentImage()->image(), cached);
  EXPECT_EQ(item(1).contentImage()->image()->digest, picture(4, 4, 3)->digest);
  EXPECT_EQ(item(2).contentImage(), nullptr);
  // What was read from disk is not put into the store.
  EXPECT_EQ(radio.getCachedImageForRadioName("two_WAYS_image.png"), nullptr);
}

TEST_F(StationPicker, NewArtworkKeepsThePlaceUntilTheFirstDeactivation) {
  const ImagePtr image = picture(4, 4, 1);
  RadioManager& radio = RadioManager::sharedManager(world.platform);
  picker.awake(stationContext(three));
  picker->radioPicker->pick(1);
  radio.addImageToCache(image, "three_image.png");
  world.settle();
  EXPECT_EQ(picker->radioPicker->selectedItemIndex(), 1U);
  ASSERT_NE(item(2).contentImage(), nullptr);
  EXPECT_EQ(item(2).contentImage()->image(), image);

  picker->didDeactivate();
  picker->willActivate();
  radio.addImageToCache(image, "one_image.png");
  world.settle();
  EXPECT_EQ(item(0).contentImage(), nullptr);
}

TEST_F(StationPicker, PlayFlashesAndOnlyLogsTheAnswer) {
  const PlistDictionary record{{"title", "A"},
                               {"more_info", PlistDictionary{{"color", "#000000"}, {"x", PlistValue()}}}};
  const PlistDictionary cleaned{{"title", "A"}, {"more_info", PlistDictionary{{"color", "#000000"}}}};
  for (const char* type : {"artist", "featured"}) {
    Screen screen{world.platform, host};
    screen.awake(stationContext({record}, type));
    EXPECT_EQ(played(screen), PlistValue(std::string(type) == "artist" ? cleaned : record));
    EXPECT_EQ(*world.phone.sentMessages().back().find("type"), PlistValue(type));
    answer({{"error", "Off air"}});
  }
  picker.awake(stationContext(three));
  picker.act("playRadio");
  refuse("away");
  const Texts lines{"Received reply : {error = \"Off air\"; }", "Received reply : {error = \"Off air\"; }",
                    "Error Firing radio : away"};
  EXPECT_EQ(takeLog(), lines);
  EXPECT_TRUE(host.takeAlerts().empty());
  EXPECT_TRUE(host.takeOpened().empty());
}

TEST_F(StationPicker, AnUnreadyPhoneGetsNothingButTheButtonFlashes) {
  picker.awake(stationContext(three));
  expectReadinessCheck([this] { picker.act("playRadio"); });
  world.mainQueue.advance(std::chrono::seconds(1));
  world.phone.setReachable(false);
  picker.act("playRadio");
  EXPECT_EQ(picker->playButtonGroup->backgroundColor(), kPressedColor);
  world.mainQueue.advance(std::chrono::milliseconds(99));
  EXPECT_EQ(picker->playButtonGroup->backgroundColor(), kPressedColor);
  world.mainQueue.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(picker->playButtonGroup->backgroundColor(), kPlayColor);
}

TEST_F(StationPicker, ALeftScreenLivesUntilItsFlashEndsNotUntilTheAnswer) {
  picker.awake(stationContext(three));
  picker.act("playRadio");
  const auto left = picker.leave();
  EXPECT_FALSE(left.expired());
  world.mainQueue.advance(std::chrono::milliseconds(100));
  EXPECT_TRUE(left.expired());
  answer({});
  EXPECT_EQ(takeLog(), Texts{"Received reply : {}"});
}

TEST_F(StationPicker, OddDataLeavesItEmptyOrUnnamed) {
  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.array() != nullptr && !odd.array()->empty()) continue;
    for (const PlistValue& context :
         {odd, PlistValue(PlistDictionary{{"dataSource", odd}, {"type", "artist"}})}) {
      Screen screen{world.platform, host};
      screen.awake(context);
      EXPECT_FALSE(screen->radioPicker->isFocused());
      EXPECT_EQ(screen->playButtonGroup->backgroundColor(), std::nullopt);
      center.postNotificationName(kNotificationFetchedRadioImage);
      EXPECT_TRUE(screen->radioPicker->items().empty());
      EXPECT_EQ(played(screen), std::nullopt);
    }
  }
  PlistArray odd = oddStations();
  const auto count = static_cast<std::ptrdiff_t>(odd.size());
  odd.append(PlistDictionary{{"title", "../../secret"}});
  for (int i = 0; i < 5000; ++i) odd.append(PlistValue());
  picker.awake(stationContext(odd));
  EXPECT_EQ(picker->radioPicker->items().size(), WatchUtil::kMostRows);
  for (std::ptrdiff_t i = count; i >= 0; --i) picker->radioPicker->pick(i);
  EXPECT_EQ(picker->titleLabel->text(), "");
}

}  // namespace
}  // namespace tunevale::test
