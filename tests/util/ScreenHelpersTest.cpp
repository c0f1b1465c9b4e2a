#include "foundation/KeyedArchive.h"
#include "support/Pictures.h"
#include "support/ScreenHarness.h"
#include "util/Alerts.h"
#include "util/ArtworkPath.h"
#include "util/CachedImages.h"

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

TEST_F(ScreenHelpers, CachedImagesAreReadByTheirWholeName) {
  FileManager& files = world.platform.fileManager;
  const std::string directory = artworkDirectory(world.platform.homeDirectory);
  EXPECT_EQ(WatchUtil::getImageForKey(world.platform, "Top_Hits_image.png"), nullptr);
  EXPECT_FALSE(files.fileExistsAtPath(directory));  // a reader makes nothing

  ASSERT_FALSE(files.createDirectoryAtPath(directory));
  ASSERT_FALSE(files.writeAtomically(pngPicture(3, 2), directory + "/Top_Hits_image.png"));
  ASSERT_FALSE(files.writeAtomically(asBytes("no picture"), directory + "/damaged.png"));
  ASSERT_FALSE(
      files.writeAtomically(pngPicture(3, 2), world.platform.homeDirectory + "/Documents/outside.png"));
  const ImagePtr image = WatchUtil::getImageForKey(world.platform, "Top_Hits_image.png");
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->pixels, picture(3, 2)->pixels);
  for (const char* name : {"Top_Hits_image", "missing.png", "damaged.png", "../outside.png", "", ".", ".."}) {
    EXPECT_EQ(WatchUtil::getImageForKey(world.platform, name), nullptr) << name;
  }
  EXPECT_TRUE(world.log.lines().empty());
}

}  // namespace
}  // namespace tunevale::test
