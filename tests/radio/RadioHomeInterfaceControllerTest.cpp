#include "foundation/KeyedArchive.h"
#include "radio/RadioHomeInterfaceController.h"
#include "radio/RadioRowController.h"
#include "radio/StationsForTests.h"
#include "support/ScreenHarness.h"

namespace tunevale::test {
namespace {

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
  EXPECT_EQ(list->radioTable->rows()[0].type, "RadioRow");
  EXPECT_EQ(row(0)->radioLanguage->text(), "Old Hindi");
  EXPECT_EQ(row(0)->radioBackgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.8F));
  EXPECT_EQ(row(0)->radioBackgroundGroup->backgroundImage(), ImageSource());
  EXPECT_EQ(row(0)->radioImage->image(), ImageSource());
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

TEST_F(StationList, ArtistsHaveOnePictureAndTheLayoutsBackground) {
  list.awake(stationContext({station("a"), station("b")}, "artist"));
  EXPECT_EQ(list->title(), "< Artists");
  EXPECT_EQ(row(1)->radioName->text(), "B");
  EXPECT_EQ(row(1)->radioImage->image().name, "quickplay_artist");
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundColor(), std::nullopt);
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundImage().name, "of the layout");
}

TEST_F(StationList, FallsBackToTheStoredListOfItsKindAndThenAsksThePhone) {
  const PlistDictionary stored{{"artist", PlistArray{station("A"), 7}}};
  store(stored);
  list.awake(stationContext({}, "artist"));
  EXPECT_EQ(list->title(), "< Artists");
  EXPECT_EQ(rowCount(list), 2U);
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
  const PlistDictionary text{{"more_info", "text"}};
  const auto record = [](const PlistDictionary& info) {
    return PlistDictionary{{"image", PlistValue()}, {"more_info", info}};
  };
  const PlistArray asItCame{record({{"color", "#FF8000"}, {"language", PlistValue()}}),
                            record({{"x", PlistValue()}}), text};
  const PlistArray cleaned{record({{"color", "#FF8000"}}), record({}), text};
  for (const char* type : {"artist", "featured"}) {
    List screen{world.platform, host};
    screen.awake(stationContext(asItCame, type));
    for (std::size_t i = 0; i < asItCame.size(); ++i) {
      screen->tableDidSelectRowAtIndex(*screen->radioTable, i);
      const PlistValue& sent = *(type[0] == 'a' ? cleaned : asItCame).at(i);
      EXPECT_EQ(world.phone.takeMessages(),
                Messages({{{"request", "playRadio"}, {"dataSource", sent}, {"type", type}}}));
    }
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

TEST_F(StationList, OddStationsAreEmptyRowsAndThereIsAnEndToThem) {
  list.awake(stationContext(oddStations()));
  ASSERT_EQ(rowCount(list), 2000U);
  list->radioImageFetched();
  EXPECT_EQ(takeLog(), Texts{"Only 2000 of 5000 rows are shown"});
  EXPECT_EQ(row(0)->radioName->text(), "");
  EXPECT_TRUE(list.leave().expired());
}

}  // namespace
}  // namespace tunevale::test
