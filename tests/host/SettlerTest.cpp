#include <gtest/gtest.h>

#include "host/Settler.h"
#include "support/ManualMainQueue.h"

namespace tunevale::host {
namespace {

using std::chrono::milliseconds;

class SettlerTest : public testing::Test {
 protected:
  /// Turns of the loop until nothing makes another.
  void turn() {
    do {
      settler_.turnDidEnd();
    } while (mainQueue_.drain() > 0);
  }
  test::ManualMainQueue mainQueue_;
  std::size_t pending_ = 0;
  Settler settler_{mainQueue_, [this] { return pending_; }};
  bool done_ = false;
};

TEST_F(SettlerTest, WaitsForThePhoneButNotForEver) {
  pending_ = 1;
  settler_.wait([&] { done_ = true; });
  turn();
  mainQueue_.advance(milliseconds(400));
  turn();
  EXPECT_FALSE(done_);
  pending_ = 0;
  turn();
  EXPECT_TRUE(done_);

  done_ = false;
  pending_ = 1;
  settler_.wait([&] { done_ = true; });
  mainQueue_.advance(milliseconds(499));
  turn();
  EXPECT_FALSE(done_);
  mainQueue_.advance(milliseconds(1));
  turn();
  EXPECT_TRUE(done_);
}

}  // namespace
}  // namespace tunevale::host
