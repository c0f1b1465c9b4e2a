#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(FaultTable, F9RevokedWhileLive) {
  std::chrono::milliseconds slowest{};
  for (const bool onWatch : {true, false}) {
    for (const bool reachesTheOther : {true, false}) {
      SCOPED_TRACE(onWatch);
      SecurePair pair;
      ASSERT_TRUE(pair.becomesReachable(5s));
      SecureEnd& here = onWatch ? pair.watch : pair.phone;
      SecureEnd& there = onWatch ? pair.phone : pair.watch;
      pair.proxy->setBlackHole(!reachesTheOther);
      const auto from = Clock::now();
      EXPECT_FALSE(here.session->unpair());
      EXPECT_TRUE(here.comes([&] { return !here.session->state().connected; }, 3s));
      slowest = std::max(slowest, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - from));
      EXPECT_FALSE(here.store.pin());
      EXPECT_EQ(there.comes([&] { return !there.store.pin(); }, reachesTheOther ? 2s : 200ms),
                reachesTheOther)
          << "the other end drops its pin when it hears of it";
      // What is said now is for nobody, also once the way is whole again and the other end comes back.
      pair.proxy->setBlackHole(false);
      const std::size_t before = here.ask([&] { return here.notes.messages; });
      there.ask([&] { return there.session->sendMessage({{"n", 1}}, {}, {}), true; });
      EXPECT_FALSE(here.comes([&] { return here.session->state().connected; }, 300ms));
      EXPECT_EQ(here.ask([&] { return here.notes.messages; }), before);
    }
  }
  EXPECT_LT(slowest, 1s);
  FaultRow("F9") << "revoked while live, on either end, reachable or not: closed within " << slowest.count()
                 << " ms, nothing delivered after";
}

}  // namespace
}  // namespace tunevale::link
