#include "radio/RadioManager.h"
#include "screens/InterfaceController.h"
#include "screens/InterfaceRowController.h"
#include "support/ScreenHarness.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

struct HomeScreen : ScreenTest {
  HomeScreen() { home.awake({}); }
  ShownScreen<InterfaceController, InterfaceRowController> home{world.platform, host};
};

TEST_F(HomeScreen, TheMenuIsRebuiltByArtworkAndNothingElse) {
  const auto row = [this](std::size_t i) {
    return home->table->rowControllerAtIndex<InterfaceRowController>(i);
  };
  row(1)->subTitle->setText("stale");
  home->willActivate();
  home->didDeactivate();
  EXPECT_EQ(row(1)->subTitle->text(), "stale");
  center.postNotificationName(kNotificationFetchedRadioImage);  // deactivation did not end it

  const Texts rows{"Weekly Top 15||wt15", "Radio Stations||radio", "My Player||player"};
  ASSERT_EQ(home->table->rows().size(), rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::string title = row(i)->headerTitle->text();
    EXPECT_EQ(title + "|" + row(i)->subTitle->text() + "|" + row(i)->image->image().name, rows[i]);
    EXPECT_EQ(row(i)->backgroundGroup->backgroundColor(),
              i == 0 ? Color::ofBytes(34, 43, 67) : Color::ofBytes(48, 181, 90, 0.17F));
  }
  EXPECT_TRUE(home.leave().expired());
}

TEST_F(HomeScreen, ARowTellsThePhoneAndThenOpensItsScreenWhateverThePhoneDoes) {
  world.phone.setActivationState(ActivationState::notActivated);
  world.phone.onSend = [this](const auto&) { EXPECT_TRUE(host.take().empty()); };
  const auto expectOpened = [&](std::size_t row, const char* request, const char* opened) {
    home->tableDidSelectRowAtIndex(*home->table, row);
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", request}}}));
    EXPECT_EQ(host.take(), Texts{opened});
  };
  expectOpened(0, "open:playlist_home", "push PlaylistHomeView {}");
  expectOpened(2, "open:player_home", "push PlayerHomeView {}");
  expectOpened(99, "open:player_home", "push PlayerHomeView {}");
  const PlistValue all(PlistDictionary{{"featured", PlistArray{"F"}}, {"artist", PlistArray{"A"}}});
  RadioManager::sharedManager(world.platform).updateRadioInfo(&all);
  expectOpened(1, "open:radio_home",
               "present RadioHomeView {dataSource = (F); type = featured; }"
               " RadioHomeView {dataSource = (A); type = artist; }");
}

TEST_F(HomeScreen, OnlyTheRadioSegueWithStoredStationsHasAContext) {
  for (const PlistValue& stored : oneOfEachKind()) {
    defaults.setObject(stored, "featured_radios");
    const bool any = stored.array() != nullptr && !stored.array()->empty();
    const PlistValue expected = any ? PlistDictionary{{"dataSource", stored}} : PlistValue();
    EXPECT_EQ(home->contextForSegueWithIdentifier("RadioHomeSegue").value_or(PlistValue()), expected);
    EXPECT_EQ(home->contextForSegueWithIdentifier("radioHomeSegue"), std::nullopt);
  }
}

}  // namespace
}  // namespace tunevale::test
