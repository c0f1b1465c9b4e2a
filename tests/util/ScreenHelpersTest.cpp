#include "foundation/KeyedArchive.h"
#include "support/ScreenHarness.h"
#include "util/Alerts.h"

namespace tunevale::test {
namespace {

struct ScreenHelpers : ScreenTest {
  void fetch() { WatchUtil::fetchAppDataFromPage(*screen); }
  std::shared_ptr<ProbeScreen> screen = ProbeScreen::shownBy(host, world.platform);
  const std::string fetching = alert(kAlertFetchingData);
  const std::string dataError = alert(kAlertDataError);
};

TEST_F(ScreenHelpers, FetchesOnceAndKeepsTheScreenUntilTheAnswer) {
  for (const auto state : {ActivationState::notActivated, ActivationState::inactive}) {
    world.phone.setActivationState(state);
    fetch();
  }
  EXPECT_TRUE(host.take().empty());
  world.phone.setActivationState(ActivationState::activated);
  fetch();
  EXPECT_EQ(host.take(), Texts{fetching});
  ASSERT_EQ(world.phone.sentMessageData().size(), 1U);
  EXPECT_EQ(unarchiveObjectWithData(world.phone.sentMessageData()[0]),
            PlistValue(PlistDictionary{{"request", "fetch_app_data"}}));
  EXPECT_EQ(defaults.objectForKey(kUserFetchDataAlert), std::nullopt);

  const std::weak_ptr<ProbeScreen> left = std::exchange(screen, nullptr);
  EXPECT_FALSE(left.expired());
  world.phone.replyToData(0, {});
  world.settle();
  EXPECT_TRUE(left.expired());
  EXPECT_EQ(defaults.objectForKey(kUserFetchDataAlert), PlistValue(1));
  EXPECT_EQ(takeLog(), Texts{"DV:>>> Reply received"});

  screen = ProbeScreen::shownBy(host, world.platform);
  defaults.setObject(PlistValue(""), kUserFetchDataAlert);  // a flag of any kind counts
  fetch();
  EXPECT_EQ(host.take(), (Texts{fetching, dataError}));
  EXPECT_EQ(world.phone.sentMessageData().size(), 1U);
}

TEST_F(ScreenHelpers, AFailedFetchIsToldAndTriedAgain) {
  fetch();
  world.phone.failData(0, {7007, "not\nreachable"});
  world.settle();
  EXPECT_EQ(host.take(), (Texts{fetching, dataError}));
  EXPECT_EQ(takeLog(), Texts{"Error is : not\\nreachable"});
  EXPECT_EQ(defaults.objectForKey(kUserFetchDataAlert), std::nullopt);
  fetch();
  EXPECT_EQ(world.phone.sentMessageData().size(), 2U);
}

}  // namespace
}  // namespace tunevale::test
