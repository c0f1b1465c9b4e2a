#include "radio/RadioManager.h"
#include "screens/InterfaceController.h"
#include "screens/InterfaceRowController.h"
#include "support/ScreenHarness.h"
#include "util/WrongKinds.h"

namespace tunevale::test {
namespace {

using Opening = RecordingHost::Opening;

struct HomeScreen : ScreenTest {
  InterfaceRowController* row(std::size_t index) {
    return home->table->rowControllerAtIndex<InterfaceRowController>(index);
  }
  void expectMenu() {
    const Texts titles{"Weekly Top 15", "Radio Stations", "My Player"};
    const Texts images{"wt15", "radio", "player"};
    const Color green{0.1882353F, 0.70980394F, 0.3529412F, 0.17F};
    const std::vector<Color> colors{{0.13333334F, 0.16862746F, 0.2627451F, 1.0F}, green, green};
    ASSERT_EQ(home->table->rows().size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(home->table->rows()[i].type, "InterfaceRow");
      EXPECT_EQ(row(i)->headerTitle->text(), titles[i]);
      EXPECT_EQ(row(i)->subTitle->text(), "");
      EXPECT_EQ(row(i)->image->image().name, images[i]);
      EXPECT_EQ(row(i)->backgroundGroup->backgroundColor(), colors[i]);
    }
  }

  ShownScreen<InterfaceController, InterfaceRowController> home{world.platform, host};
};

TEST_F(HomeScreen, TheMenuIsRebuiltByArtworkAndNothingElse) {
  home.awake(PlistDictionary{{"any", "context"}});
  expectMenu();
  row(1)->subTitle->setText("stale");
  home->willActivate();
  home->didDeactivate();
  EXPECT_EQ(row(1)->subTitle->text(), "stale");
  // Deactivation did not end the observation.
  center.postNotificationName(kNotificationFetchedRadioImage);
  expectMenu();
  EXPECT_TRUE(world.phone.takeMessages().empty());
  EXPECT_TRUE(home.leave().expired());
  center.postNotificationName(kNotificationFetchedRadioImage);
}

TEST_F(HomeScreen, ARowTellsThePhoneAndOpensItsScreenWhateverThePhoneDoes) {
  home.awake();
  world.phone.setActivationState(ActivationState::notActivated);
  world.phone.setReachable(false);
  const PlistDictionary none;
  const Opening player{false, {{"PlayerHomeView", none}}, 1};
  const std::vector<std::pair<std::size_t, const char*>> rows{
      {0, "open:playlist_home"}, {2, "open:player_home"}, {99, "open:player_home"}};
  std::size_t sent = 0;
  for (const auto& [index, request] : rows) {
    home->tableDidSelectRowAtIndex(*home->table, index);
    EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", request}}}));
    const char* scene = index == 0 ? "PlaylistHomeView" : "PlayerHomeView";
    EXPECT_EQ(host.takeOpened(), std::vector({Opening{false, {{scene, none}}, ++sent}}));
  }
  EXPECT_TRUE(host.takeAlerts().empty());
}

TEST_F(HomeScreen, TheRadioOpensAsTwoPagesEvenWithoutStations) {
  home.awake();
  const auto pages = [](const PlistArray& featured, const PlistArray& artist) {
    return std::vector<RecordingHost::Page>{
        {"RadioHomeView", PlistDictionary{{"dataSource", featured}, {"type", "featured"}}},
        {"RadioHomeView", PlistDictionary{{"dataSource", artist}, {"type", "artist"}}}};
  };
  home->tableDidSelectRowAtIndex(*home->table, 1);
  EXPECT_EQ(world.phone.takeMessages(), Messages({{{"request", "open:radio_home"}}}));
  EXPECT_EQ(host.takeOpened(), std::vector({Opening{true, pages({}, {}), 1}}));

  const PlistArray featured{"F"};
  const PlistArray artist{"A"};
  const PlistValue all(PlistDictionary{{"featured", featured}, {"artist", artist}});
  RadioManager::sharedManager(world.platform).updateRadioInfo(&all);
  home->openRadioHomePage();
  EXPECT_EQ(host.takeOpened(), std::vector({Opening{true, pages(featured, artist), 2}}));
}

TEST_F(HomeScreen, OnlyTheRadioSegueWithStoredStationsHasAContext) {
  home.awake();
  EXPECT_EQ(home->contextForSegueWithIdentifier("RadioHomeSegue"), std::nullopt);
  for (const PlistValue& stored : oneOfEachKind()) {
    defaults.setObject(stored, "featured_radios");
    const bool usable = stored.array() != nullptr && !stored.array()->empty();
    const PlistDictionary expected{{"dataSource", stored}};
    EXPECT_EQ(home->contextForSegueWithIdentifier("RadioHomeSegue"),
              usable ? std::optional<PlistValue>(expected) : std::nullopt);
    EXPECT_EQ(home->contextForSegueWithIdentifier("radioHomeSegue"), std::nullopt);
  }
}

TEST_F(HomeScreen, TheSessionRoleOnlyLogs) {
  const PlistDictionary message{{"request", "x"}};
  home->sessionActivationDidCompleteWithState(world.phone, ActivationState::activated, {});
  home->sessionDidBecomeInactive(world.phone);
  home->sessionDidDeactivate(world.phone);
  home->sessionDidReceiveMessage(world.phone, nullptr);
  home->sessionDidReceiveMessage(world.phone, &message);
  EXPECT_EQ(takeLog(),
            (Texts{"sessionDidBecomeInactive", "sessionDidDeactivate", "message = {request = x; }"}));
}

}  // namespace
}  // namespace tunevale::test
