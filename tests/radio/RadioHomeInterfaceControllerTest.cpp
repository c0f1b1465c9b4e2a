#include "foundation/KeyedArchive.h"
#include "radio/RadioHomeInterfaceController.h"
#include "radio/RadioRowController.h"
#include "radio/StationsForTests.h"
#include "support/ScreenHarness.h"
#include "util/ShownLimits.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

struct StationList : ScreenTest {
  RadioRowController* row(std::size_t index) {
    return list->radioTable->rowControllerAtIndex<RadioRowController>(index);
  }
  std::size_t rowCount() { return list->radioTable->rows().size(); }
  void select(std::size_t index) { list->tableDidSelectRowAtIndex(*list->radioTable, index); }
  void store(const PlistValue& stations) {
    defaults.setObject(PlistValue(archivedDataWithRootObject(stations)), "radio_stations");
  }
  ShownScreen<RadioHomeInterfaceController, RadioRowController> list{world.platform, host};
};

TEST_F(StationList, FeaturedStationsHaveTheirColours) {
  list.awake(stationContext({station("night OWLS", "old hindi", "#FF8000"), station("B", nullptr, nullptr)}));
  EXPECT_EQ(list->title(), "< Featured");
  ASSERT_EQ(rowCount(), 2U);
  EXPECT_EQ(list->radioTable->rows()[0].type, "RadioRow");
  EXPECT_EQ(row(0)->radioName->text(), "Night Owls");
  EXPECT_EQ(row(0)->radioLanguage->text(), "Old Hindi");
  EXPECT_EQ(row(0)->radioBackgroundGroup->backgroundColor(), Color::ofBytes(255, 128, 0, 0.8F));
  EXPECT_EQ(row(0)->radioBackgroundGroup->backgroundImage(), ImageSource());
  EXPECT_EQ(row(0)->radioImage->image(), ImageSource());
  EXPECT_EQ(row(1)->radioLanguage->text(), "");
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundColor(), Color::blackColor());
  EXPECT_TRUE(world.phone.sentMessages().empty());
}

TEST_F(StationList, ArtistsHaveOnePictureAndTheLayoutsBackground) {
  list.awake(stationContext({station("a", "tamil", "#FF8000"), station("b", "x", "#FF8000")}, "artist"));
  EXPECT_EQ(list->title(), "< Artists");
  ASSERT_EQ(rowCount(), 2U);
  EXPECT_EQ(row(1)->radioName->text(), "B");
  EXPECT_EQ(row(1)->radioImage->image().name, "quickplay_artist");
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundColor(), std::nullopt);
  EXPECT_EQ(row(1)->radioBackgroundGroup->backgroundImage().name, "of the layout");
}

TEST_F(StationList, FallsBackToTheStoredListOfItsKind) {
  store(PlistDictionary{{"featured", PlistArray{station("F")}}, {"artist", PlistArray{station("A"), 7}}});
  list.awake(stationContext({}, "artist"));
  EXPECT_EQ(list->title(), "< Artists");
  EXPECT_EQ(rowCount(), 2U);
  EXPECT_EQ(row(0)->radioName->text(), "A");

  // A stored dictionary counts even if it lacks the list.
  store(PlistDictionary{{"artist", PlistArray{station("A")}}});
  ShownScreen<RadioHomeInterfaceController, RadioRowController> featured{world.platform, host};
  featured.awake(stationContext({}, "Artist"));
  EXPECT_EQ(featured->title(), "< Featured");
  EXPECT_TRUE(featured->radioTable->rows().empty());
  EXPECT_TRUE(host.takeAlerts().empty());
}

TEST_F(StationList, WithoutAnyListThePhoneIsAsked) {
  for (const PlistValue& odd : oneOfEachKind()) {
    for (const bool archived : {false, true}) {
      if (archived && odd.dictionary() != nullptr && !odd.dictionary()->empty()) continue;
      archived ? store(odd) : defaults.setObject(odd, "radio_stations");
      ShownScreen<RadioHomeInterfaceController, RadioRowController> empty{world.platform, host};
      const std::size_t asked = world.phone.sentMessageData().size();
      empty.awake(archived ? PlistValue(PlistDictionary{{"dataSource", odd}, {"type", odd}}) : odd);
      if (!empty->radioTable->rows().empty()) continue;  // the odd value was a list
      EXPECT_EQ(empty->title(), "");
      EXPECT_EQ(world.phone.sentMessageData().size(), asked + 1);
      EXPECT_EQ(host.takeAlerts(), Texts{alert(kAlertFetchingData)});
    }
  }
}

TEST_F(StationList, RebuildsOnArtworkUntilTheFirstDeactivation) {
  list.awake(stationContext({station("a")}));
  row(0)->radioName->setText("stale");
  center.postNotificationName(kNotificationFetchedRadioImage);
  EXPECT_EQ(row(0)->radioName->text(), "A");
  list->didDeactivate();
  list->willActivate();
  row(0)->radioName->setText("stale");
  center.postNotificationName(kNotificationFetchedRadioImage);
  EXPECT_EQ(row(0)->radioName->text(), "stale");
}

TEST_F(StationList, AnArtistGoesWithoutNullsAFeaturedStationAsItCame) {
  const PlistDictionary info{{"color", "#FF8000"}, {"language", PlistValue()}, {"x", PlistValue()}};
  const PlistDictionary record{{"title", "A"}, {"more_info", info}, {"image", PlistValue()}};
  const PlistDictionary onlyNulls{{"more_info", PlistDictionary{{"x", PlistValue()}}}};
  const PlistArray records{record, onlyNulls, PlistDictionary{{"more_info", "text"}}};
  const PlistArray cleaned{
      PlistDictionary{
          {"title", "A"}, {"more_info", PlistDictionary{{"color", "#FF8000"}}}, {"image", PlistValue()}},
      PlistDictionary{{"more_info", PlistDictionary()}}, *records.at(2)};
  for (const char* type : {"artist", "featured"}) {
    ShownScreen<RadioHomeInterfaceController, RadioRowController> screen{world.platform, host};
    screen.awake(stationContext(records, type));
    for (std::size_t i = 0; i < records.size(); ++i) {
      screen->tableDidSelectRowAtIndex(*screen->radioTable, i);
      const PlistArray& expected = std::string(type) == "artist" ? cleaned : records;
      EXPECT_EQ(world.phone.takeMessages(),
                Messages({{{"request", "playRadio"}, {"dataSource", *expected.at(i)}, {"type", type}}}));
    }
  }
}

TEST_F(StationList, ThePlayerOpensModallyWhenThePhoneAgrees) {
  list.awake(stationContext({station("a")}));
  select(0);
  EXPECT_TRUE(host.takeOpened().empty());
  answer({{"error", ""}});
  EXPECT_EQ(takeLog(), Texts{"Received reply : {error = \"\"; }"});
  const auto opened = host.takeOpened();
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_TRUE(opened[0].modal);
  const RecordingHost::Page player{"PlayerHomeView", PlistDictionary{{"view_type", "modal"}}};
  EXPECT_EQ(opened[0].pages, std::vector{player});

  select(0);
  answer({{"error", "Off air"}});
  EXPECT_EQ(host.takeAlerts(), Texts{alert("Off air")});
  takeLog();
  select(0);
  refuse("away");
  EXPECT_EQ(takeLog(), Texts{"Error Firing radio : away"});
  EXPECT_TRUE(host.takeAlerts().empty());
  EXPECT_TRUE(host.takeOpened().empty());
}

TEST_F(StationList, NothingIsSentForAnotherTableNoRecordOrAPhoneThatIsNotReady) {
  list.awake(stationContext({station("a"), 7, PlistDictionary()}));
  expectReadinessCheck([this] { select(0); });
  world.phone.setReachable(false);
  WKInterfaceTable other({}, {});
  list->tableDidSelectRowAtIndex(other, 0);
  EXPECT_TRUE(host.takeAlerts().empty());
  world.phone.setReachable(true);
  for (const std::size_t index : {1U, 2U, 3U, 4000U}) select(index);
  EXPECT_TRUE(world.phone.takeMessages().empty());
}

TEST_F(StationList, TheWayToThePickerHasTheListAndItsKind) {
  EXPECT_EQ(list->contextForSegueWithIdentifier("RadioPickerSegue"), std::nullopt);
  const PlistDictionary context = stationContext({station("a")}, "artist");
  list.awake(context);
  EXPECT_EQ(list->contextForSegueWithIdentifier("RadioPickerSegue"), PlistValue(context));
  EXPECT_EQ(list->contextForSegueWithIdentifier("RadioHomeSegue"), std::nullopt);
}

TEST_F(StationList, OddStationsAreEmptyRowsAndThereIsAnEndToThem) {
  PlistArray odd = oddStations();
  for (int i = 0; i < 5000; ++i) odd.append(PlistValue());
  list.awake(stationContext(odd));
  ASSERT_EQ(rowCount(), WatchUtil::kMostRows);
  EXPECT_EQ(row(0)->radioName->text(), "");
  const auto left = list.leave();
  EXPECT_TRUE(left.expired());
}

}  // namespace
}  // namespace tunevale::test
