#include <gtest/gtest.h>

#include "host/Settler.h"
#include "support/ManualMainQueue.h"

namespace tunevale::host {
namespace {

using std::chrono::milliseconds;

TEST(Settler, WaitsForThePhoneAndForRestButNotForEver) {
  test::ManualMainQueue mainQueue;
  std::size_t pending = 1;
  Settler settler(mainQueue, [&] { return pending; });
  bool done = false;
  const auto turnAfter = [&](int wait) {
    mainQueue.advance(milliseconds(wait));
    do settler.turnDidEnd();
    while (mainQueue.drain() > 0);
    return done;
  };
  settler.wait([&] { done = true; });
  EXPECT_FALSE(turnAfter(400));
  pending = 0;
  settler.turnDidEnd();
  EXPECT_FALSE(done) << "what the answer submits comes first";
  EXPECT_TRUE(turnAfter(0));

  done = false;
  pending = 1;
  settler.wait([&] { done = true; });
  EXPECT_FALSE(turnAfter(499));
  EXPECT_TRUE(turnAfter(1));
}

}  // namespace
}  // namespace tunevale::host
