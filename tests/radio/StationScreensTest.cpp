#include <filesystem>

#include <sys/resource.h>

#include "foundation/KeyedArchive.h"
#include "host/ByteBudgetImageCache.h"
#include "radio/RadioHomeInterfaceController.h"
#include "radio/RadioInterfaceController.h"
#include "radio/RadioManager.h"
#include "radio/RadioRowController.h"
#include "support/Pictures.h"
#include "support/ScreenHarness.h"
#include "util/ArtworkPath.h"
#include "util/CachedImages.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

PlistDictionary station(const char* title, const char* language = "old hindi") {
  return {{"title", title}, {"more_info", PlistDictionary{{"language", language}, {"color", "#FF8000"}}}};
}

PlistDictionary stationContext(const PlistArray& stations, const char* type = "featured") {
  return {{"dataSource", stations}, {"type", type}};
}

using List = ShownScreen<RadioHomeInterfaceController, RadioRowController>;

struct StationList : ScreenTest {
  RadioRowController* row(std::size_t i) {
    return list->radioTable->rowControllerAtIndex<RadioRowController>(i);
  }
  static std::size_t rowCount(const List& of) { return of->radioTable->rows().size(); }
  void select(std::size_t index) { list->tableDidSelectRowAtIndex(*list->radioTable, index); }
  void store(const PlistValue& stations) {
    defaults.setObject(PlistValue(archivedDataWithRootObject(stations)), "radio_stations");
  }
  List list{world.platform, host};
};

TEST_F(StationList, FeaturedStationsHaveTheirColoursAndRebuildUntilTheFirstDeactivation) {
  const PlistArray given{station("night OWLS"), PlistDictionary{{"title", "b"}}};
  store(PlistDictionary{{"featured", PlistArray{station("stored")}}});  // the context's come first
  list.awake(stationContext(given));
  EXPECT_EQ(list->title(), "< Featured");
  ASSERT_EQ(rowCount(list), 2U);
  EXPECT_EQ(row(0)->radioLanguage->text(), "Old Hindi");
  EXPECT_EQ(row(0)->radioBackgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.8F));
  EXPECT_EQ(row(1)->radioLanguage->text(), "");
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundColor(), Color::blackColor());
  EXPECT_EQ(list->contextForSegueWithIdentifier("RadioPickerSegue"), PlistValue(stationContext(given)));
  EXPECT_EQ(list->contextForSegueWithIdentifier("radioPickerSegue"), std::nullopt);
  for (const char* shown : {"Night Owls", "stale"}) {
    center.postNotificationName(kNotificationFetchedRadioImage);
    EXPECT_EQ(row(0)->radioName->text(), shown);
    list->didDeactivate();
    list->willActivate();
    row(0)->radioName->setText("stale");
  }
}

TEST_F(StationList, FallsBackToTheStoredListOfItsKindAndThenAsksThePhone) {
  const PlistDictionary stored{{"artist", PlistArray{station("A"), 7}}};
  store(stored);
  list.awake(stationContext({}, "artist"));
  EXPECT_EQ(list->title(), "< Artists");
  EXPECT_EQ(rowCount(list), 2U);
  EXPECT_EQ(row(0)->radioName->text(), "A");
  EXPECT_EQ(row(1)->radioImage->image().name, "quickplay_artist");
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundColor(), std::nullopt);
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundImage().name, "of the layout");
  List featured{world.platform, host};
  featured.awake(stationContext({}, "Artist"));
  EXPECT_EQ(featured->title(), "< Featured");  // what is stored counts even if it lacks the list
  EXPECT_EQ(rowCount(featured), 0U);
  EXPECT_EQ(featured->contextForSegueWithIdentifier("RadioPickerSegue"), std::nullopt);
  EXPECT_TRUE(host.take().empty());
  defaults.setObject(stored, "radio_stations");  // no archive
  for (const PlistValue& odd : oneOfEachKind()) {
    if (odd.dictionary() == nullptr || odd.dictionary()->empty()) store(odd);
    List empty{world.platform, host};
    empty.awake(odd);
    EXPECT_EQ(rowCount(empty), 0U);
    EXPECT_EQ(empty->title(), "");
    EXPECT_EQ(host.take(), Texts{alert(kAlertFetchingData)});
  }
  EXPECT_EQ(world.phone.sentMessageData().size(), oneOfEachKind().size());
}

TEST_F(StationList, AnArtistGoesWithoutNullsAFeaturedStationAsItCame) {
  const PlistDictionary info{{"color", "#FF8000"}, {"language", PlistValue()}};
  const PlistDictionary asItCame{{"image", PlistValue()}, {"more_info", info}};
  const PlistDictionary cleaned{{"image", PlistValue()},
                                {"more_info", PlistDictionary{{"color", "#FF8000"}}}};
  for (const char* type : {"artist", "featured"}) {
    List screen{world.platform, host};
    screen.awake(stationContext({asItCame}, type));
    screen->tableDidSelectRowAtIndex(*screen->radioTable, 0);
    const PlistDictionary& sent = type[0] == 'a' ? cleaned : asItCame;
    EXPECT_EQ(world.phone.takeMessages(),
              Messages({{{"request", "playRadio"}, {"dataSource", sent}, {"type", type}}}));
  }
}

TEST_F(StationList, ThePlayerOpensModallyWhenThePhoneAgrees) {
  list.awake(stationContext({station("a"), 7, PlistDictionary()}));
  for (const char* error : {"", "Gone"}) {
    select(0);
    EXPECT_TRUE(host.take().empty());
    answer({{"error", error}});
    EXPECT_EQ(host.take(), Texts{*error ? alert("Gone") : "present PlayerHomeView {view_type = modal; }"});
  }
  select(0);
  refuse();
  EXPECT_EQ(takeLog(), (Texts{"Received reply : {error = \"\"; }", "Received reply : {error = Gone; }",
                              "Error Firing radio : away"}));
  world.phone.takeMessages();
  for (const std::size_t noStation : {1U, 2U, 3U, 4000U}) select(noStation);
  EXPECT_TRUE(world.phone.takeMessages().empty());
  expectReadinessCheck([this] { select(0); });  // ends with a phone that is not ready
  WKInterfaceTable other({}, {});
  list->tableDidSelectRowAtIndex(other, 0);
  EXPECT_TRUE(host.take().empty());
}

TEST_F(StationList, ThereIsAnEndToTheStations) {
  PlistArray odd;
  for (const PlistValue& value : oneOfEachKind()) odd.append(value);
  for (const std::size_t size : {2000U, 5000U}) {
    while (odd.size() < size) odd.append(PlistDictionary{{"title", "../../secret"}});
    list.awake(stationContext(odd));
    ASSERT_EQ(rowCount(list), 2000U);
  }
  list->radioImageFetched();
  EXPECT_EQ(takeLog(), Texts{"Only 2000 of 5000 rows are shown"}) << "and 2000 of 2000";
  EXPECT_EQ(row(0)->radioName->text(), "");
  EXPECT_TRUE(list.leave().expired());
}

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
  const WKPickerItem& item = picker->radioPicker->items()[1];
  EXPECT_EQ(item.title() + ", " + item.caption(), "two WAYS, two WAYS");
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.5F));
  EXPECT_EQ(picker->titleLabel->text(), "");  // until the crown moves
}

TEST_F(StationPicker, NewArtworkKeepsThePlaceUntilTheFirstDeactivation) {
  const ImagePtr next = picture(4, 4, 1);
  writeArtwork("two_WAYS_image.png", pngPicture(4, 4));
  writeArtwork("three_image.png", asBytes("no picture"));
  picker.awake(stationContext(three, "artist"));
  EXPECT_TRUE(imageOf(1) && !imageOf(2));
  EXPECT_EQ(radio.getCachedImageForRadioName("two_WAYS_image.png"), nullptr);  // read, not kept
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), std::nullopt);
  EXPECT_EQ(picker->backgroundGroup->backgroundImage().name, "of the layout");
  picker->radioPicker->pick(1);
  EXPECT_EQ(picker->titleLabel->text() + ", " + picker->metaLabel->text(), "Two Ways, Tamil");
  EXPECT_EQ(picker->backgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.5F));
  EXPECT_EQ(played(picker), *three.at(1));
  radio.addImageToCache(picture(4, 4), "three_image.png");
  world.settle();
  EXPECT_EQ(picker->radioPicker->selectedItemIndex(), 1U);
  EXPECT_NE(imageOf(2), nullptr);
  int announced = 0;
  const auto observer = std::make_shared<int>();
  center.addObserver(observer, kNotificationFetchedRadioImage, [&](const Notification&) {
    // Artwork that was announced before the deactivation is shown, also where others had been announced.
    if (++announced == 1) images->setObject(next, radio.getImageKey("two_WAYS_image.png"));
    if (announced == 2) picker->didDeactivate();
  });
  for (int i = 0; i < 2; ++i) radio.addImageToCache(picture(4, 4), "three_image.png");
  world.settle();
  EXPECT_EQ(imageOf(1), next);  // from memory, also where there is a file
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
  for (int i = 0; i < 5000; ++i) {
    const std::string title = std::to_string(i);
    many.append(station(title.c_str()));
    if (i > 0 && i < 1900)
      std::filesystem::create_hard_link(folder + "0_image.png", folder + title + "_image.png");
  }
  const long before = highestResident();
  picker.awake(stationContext(many));
  EXPECT_TRUE(imageOf(0) && imageOf(1899) && !imageOf(1900));
  EXPECT_EQ(images->reads, 2000);
  EXPECT_EQ(takeLog(), Texts{"Only 2000 of 5000 rows are shown"});
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

}  // namespace
}  // namespace tunevale::test
