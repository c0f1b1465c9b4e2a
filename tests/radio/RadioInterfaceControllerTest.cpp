#include <filesystem>

#include <sys/resource.h>

#include "host/ByteBudgetImageCache.h"
#include "radio/RadioInterfaceController.h"
#include "radio/RadioManager.h"
#include "radio/StationsForTests.h"
#include "support/Pictures.h"
#include "support/ScreenHarness.h"
#include "util/ArtworkPath.h"
#include "util/CachedImages.h"

namespace tunevale::test {
namespace {

using Picker = ShownScreen<RadioInterfaceController>;

struct StationPicker : ScreenTest {
  void writeArtwork(const std::string& fileName, ByteView contents) {
    const std::string home = world.platform.homeDirectory;
    world.platform.fileManager.createDirectoryAtPath(artworkDirectory(home));
    ASSERT_FALSE(world.platform.fileManager.writeAtomically(contents, *artworkPath(home, fileName)));
  }
  ImagePtr imageOf(std::size_t index) {
    const auto& image = picker->radioPicker->items().at(index).contentImage();
    return image ? image->image() : nullptr;
  }
  /// The station that a tap sends; null when it sends none.
  PlistValue played(Picker& screen) {
    world.phone.takeMessages();
    screen.act("playRadio");
    const Messages sent = world.phone.takeMessages();
    return sent.empty() ? PlistValue() : *sent.at(0).find("dataSource");
  }
  /// The most memory that the process ever had, in KiB.
  static long highestResident() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  }
  struct CountingCache : host::ByteBudgetImageCache {
    CountingCache() : ByteBudgetImageCache(1U << 20) {}
    ImagePtr objectForKey(std::string_view key) override {
      return ++reads, ByteBudgetImageCache::objectForKey(key);
    }
    int reads = 0;
  };
  const std::shared_ptr<CountingCache> images = std::make_shared<CountingCache>();
  const PlistArray three{station("one"), station("two WAYS", "tamil"), station("three")};
  RadioManager& radio = (
      world.platform.makeImageCache = [this] { return images; }, RadioManager::sharedManager(world.platform));
  Picker picker{world.platform, host};
};

TEST_F(StationPicker, OpensAtTheContextsIndexWithTheFirstStationsColour) {
  const std::vector<std::pair<PlistValue, PlistValue>> cases{{2, *three.at(0)},         {"abc", *three.at(0)},
                                                             {" 1 of 3", *three.at(1)}, {"", *three.at(0)},
                                                             {"3", PlistValue()},       {"-1", PlistValue()}};
  for (const auto& [index, expected] : cases) {
    Picker screen{world.platform, host};
    screen.awake(PlistDictionary{{"dataSource", three}, {"currentIndex", index}});
    EXPECT_EQ(played(screen), expected);
  }
  picker.awake(PlistDictionary{{"dataSource", three}, {"currentIndex", "2"}});
  ASSERT_EQ(picker->radioPicker->items().size(), 3U);
  EXPECT_EQ(picker->radioPicker->selectedItemIndex(), 2U);
  EXPECT_EQ(played(picker), *three.at(2));
  EXPECT_TRUE(picker->radioPicker->isFocused());
  EXPECT_EQ(picker->radioPicker->items()[1].title(), "two WAYS");
  EXPECT_EQ(picker->radioPicker->items()[1].caption(), "two WAYS");
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.5F));
  EXPECT_EQ(picker->backgroundGroup->backgroundImage(), ImageSource());
  EXPECT_EQ(picker->titleLabel->text(), "");  // until the crown moves
}

TEST_F(StationPicker, TheCrownShowsColoursAndChoosesTheStation) {
  picker.awake(stationContext(three, "artist"));
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), std::nullopt);
  picker->radioPicker->pick(1);
  EXPECT_EQ(picker->titleLabel->text() + ", " + picker->metaLabel->text(), "Two Ways, Tamil");
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.5F));
  EXPECT_EQ(picker->backgroundGroup->backgroundImage().name, "of the layout");
  EXPECT_EQ(played(picker), *three.at(1));
}

TEST_F(StationPicker, ArtworkComesFromMemoryThenFromDisk) {
  const ImagePtr cached = picture(4, 4, 1);
  writeArtwork("one_image.png", pngPicture(4, 4, 2));
  writeArtwork("two_WAYS_image.png", pngPicture(4, 4, 3));
  writeArtwork("three_image.png", asBytes("no picture"));
  radio.addImageToCache(cached, "one_image.png");
  picker.awake(stationContext(three));
  EXPECT_EQ(imageOf(0), cached);
  ASSERT_NE(imageOf(1), nullptr);
  EXPECT_EQ(world.platform.imageCodec.pngRepresentation(*imageOf(1)), pngPicture(4, 4, 3));
  EXPECT_EQ(imageOf(2), nullptr);
  EXPECT_EQ(radio.getCachedImageForRadioName("two_WAYS_image.png"), nullptr);  // read, not kept
}

TEST_F(StationPicker, NewArtworkKeepsThePlaceUntilTheFirstDeactivation) {
  picker.awake(stationContext(three));
  picker->radioPicker->pick(1);
  radio.addImageToCache(picture(4, 4), "three_image.png");
  world.settle();
  EXPECT_EQ(picker->radioPicker->selectedItemIndex(), 1U);
  EXPECT_NE(imageOf(2), nullptr);
  int announced = 0;
  const auto observer = std::make_shared<int>();
  center.addObserver(observer, kNotificationFetchedRadioImage, [&](const Notification&) {
    // Artwork that was announced before the deactivation is shown, also where others had been announced.
    if (++announced == 1) images->setObject(picture(4, 4), radio.getImageKey("two_WAYS_image.png"));
    if (announced == 2) picker->didDeactivate();
  });
  for (int i = 0; i < 2; ++i) radio.addImageToCache(picture(4, 4), "three_image.png");
  world.settle();
  EXPECT_NE(imageOf(1), nullptr);
  picker->willActivate();
  radio.addImageToCache(picture(4, 4), "one_image.png");
  world.settle();
  EXPECT_EQ(imageOf(0), nullptr);
}

TEST_F(StationPicker, ManyPicturesTakeLittleMemoryAndTheirArrivalLittleWork) {
  writeArtwork("0_image.png", pngPicture(2048, 256));
  writeArtwork("new.png", pngPicture(8, 8));
  const std::string folder = artworkDirectory(world.platform.homeDirectory) + "/";
  PlistArray many;
  for (int i = 0; i < 2000; ++i) {
    const std::string title = std::to_string(i);
    many.append(station(title.c_str()));
    if (i > 0 && i < 1900)
      std::filesystem::create_hard_link(folder + "0_image.png", folder + title + "_image.png");
  }
  const long before = highestResident();
  picker.awake(stationContext(many));
  EXPECT_TRUE(imageOf(0) && imageOf(1899) && !imageOf(1900));
  EXPECT_EQ(images->reads, 2000);
  const auto first = picker->radioPicker->items()[0].contentImage();
  const ImagePtr arrived = WatchUtil::getImageForKey(world.platform, "new.png");
  for (int i = 1900; i < 2000; ++i) radio.addImageToCache(arrived, std::to_string(i) + "_image.png");
  world.settle();
  EXPECT_EQ(picker->radioPicker->items()[0].contentImage(), first);
  EXPECT_NE(imageOf(1999), nullptr);
  EXPECT_EQ(images->reads, 3 * 2000);  // at the first of a hundred announcements, and after the last
  EXPECT_LT(highestResident() - before, 48 << 10);  // 4 GiB if they were decoded
  const std::function<void()> unexpected = [] { ADD_FAILURE() << "nothing new, but the display is told"; };
  picker->radioPicker->setChangeHandler(&unexpected);
  picker->reloadData();
}

TEST_F(StationPicker, PlayFlashesAndOnlyLogsTheAnswer) {
  const PlistDictionary record{{"more_info", PlistDictionary{{"x", PlistValue()}}}};
  picker.awake(stationContext({record}, "artist"));
  EXPECT_EQ(played(picker), PlistValue(PlistDictionary{{"more_info", PlistDictionary()}}));
  answer({{"error", "Gone"}});
  picker.act("playRadio");
  refuse();
  EXPECT_EQ(takeLog(), (Texts{"Received reply : {error = Gone; }", "Error Firing radio : away"}));
  EXPECT_TRUE(host.take().empty());
  expectReadinessCheck([this] { picker.act("playRadio"); });
  world.phone.setActivationState(ActivationState::activated);
  world.mainQueue.advance(std::chrono::seconds(1));
  expectFlash(*picker->playButtonGroup, [this] { picker.act("playRadio"); });
}

TEST_F(StationPicker, OddStationsAreUnnamedAndThereIsAnEndToThem) {
  picker.awake(stationContext(oddStations()));
  EXPECT_EQ(picker->radioPicker->items().size(), 2000U);
  for (std::ptrdiff_t i = 60; i >= 0; --i) picker->radioPicker->pick(i);
  EXPECT_EQ(picker->titleLabel->text(), "");
}

}  // namespace
}  // namespace tunevale::test
