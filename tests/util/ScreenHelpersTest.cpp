#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "support/Pictures.h"
#include "support/World.h"
#include "util/Alerts.h"
#include "util/ArtworkPath.h"
#include "util/CachedImages.h"
#include "util/ProbeScreen.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale::test {
namespace {

using Texts = std::vector<std::string>;
const std::string kFetching(kAlertFetchingData);
const std::string kDataError(kAlertDataError);

struct ScreenHelpers : ::testing::Test {
  World world;
  AlertBook book;
  std::shared_ptr<ProbeScreen> screen = ProbeScreen::shownBy(book, world.platform);
  UserDefaults& defaults = world.platform.standardUserDefaults;
};

TEST_F(ScreenHelpers, TheAlertHasOneForm) {
  WatchUtil::showAlert("words", *screen);
  ASSERT_EQ(book.alerts.size(), 1U);
  const WKAlert& alert = book.alerts.front();
  EXPECT_EQ(alert.title, "Tunevale");
  EXPECT_EQ(alert.message, "words");
  EXPECT_EQ(alert.preferredStyle, WKAlertControllerStyle::alert);
  ASSERT_EQ(alert.actions.size(), 1U);
  EXPECT_EQ(alert.actions[0].title, "OK");
  EXPECT_EQ(alert.actions[0].style, WKAlertActionStyle::regular);
  if (alert.actions[0].handler) alert.actions[0].handler();
}

TEST_F(ScreenHelpers, FetchesOnceAndKeepsTheScreenUntilTheAnswer) {
  for (const auto state : {ActivationState::notActivated, ActivationState::inactive}) {
    world.phone.setActivationState(state);
    WatchUtil::fetchAppDataFromPage(*screen);
  }
  EXPECT_TRUE(book.alerts.empty());
  world.phone.setActivationState(ActivationState::activated);
  WatchUtil::fetchAppDataFromPage(*screen);
  EXPECT_EQ(book.takeMessages(), Texts{kFetching});
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
  EXPECT_EQ(world.log.lines(), Texts{"DV:>>> Reply received"});

  screen = ProbeScreen::shownBy(book, world.platform);
  defaults.setObject(PlistValue(""), kUserFetchDataAlert);  // a flag of any kind counts
  WatchUtil::fetchAppDataFromPage(*screen);
  EXPECT_EQ(book.takeMessages(), (Texts{kFetching, kDataError}));
  EXPECT_EQ(world.phone.sentMessageData().size(), 1U);
}

TEST_F(ScreenHelpers, AFailedFetchIsToldAndTriedAgain) {
  world.phone.setActivationState(ActivationState::activated);
  WatchUtil::fetchAppDataFromPage(*screen);
  world.phone.failData(0, {7007, "not\nreachable"});
  world.settle();
  EXPECT_EQ(book.takeMessages(), (Texts{kFetching, kDataError}));
  ASSERT_EQ(world.log.lines().size(), 1U);
  EXPECT_TRUE(world.log.lines()[0].starts_with("Error is : not")) << world.log.lines()[0];
  EXPECT_EQ(world.log.lines()[0].find('\n'), std::string::npos);
  EXPECT_EQ(defaults.objectForKey(kUserFetchDataAlert), std::nullopt);
  WatchUtil::fetchAppDataFromPage(*screen);
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
