#include <gtest/gtest.h>

#include "support/Pictures.h"
#include "support/World.h"

namespace tunevale::test {
namespace {

class Settling : public testing::TestWithParam<World::Queues> {};
INSTANTIATE_TEST_SUITE_P(Queues, Settling, testing::Values(World::Queues::manual, World::Queues::threads));

// A block hops between two serial queues and the main queue; settling must follow it to the end.
TEST_P(Settling, FollowsBlocksFromQueueToQueue) {
  World world(GetParam());
  const auto one = world.platform.makeSerialQueue("one");
  const auto two = world.platform.makeSerialQueue("two");
  std::string path;
  std::function<void(int)> hop = [&](int left) {
    if (left == 0) return;
    two->async([&, left] {
      path += '2';
      one->async([&, left] {
        path += '1';
        world.mainQueue.async([&, left] {
          path += 'm';
          hop(left - 1);
        });
      });
    });
  };
  hop(3);
  world.settle();
  EXPECT_EQ(path, "21m21m21m");
}

TEST(World, KeepsItsHomeAcrossARestart) {
  const auto folder = std::make_shared<TemporaryFolder>();
  {
    World world(folder);
    world.platform.standardUserDefaults.setObject(PlistValue("Hindi"), "kUserLanguage");
  }
  World again(folder);
  EXPECT_EQ(again.platform.standardUserDefaults.objectForKey("kUserLanguage"), PlistValue("Hindi"));
  EXPECT_TRUE(again.platform.fileManager.fileExistsAtPath(again.platform.homeDirectory + "/Documents"));
}

}  // namespace
}  // namespace tunevale::test
