#include <random>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

long long inMilliseconds(Duration duration) {
  return std::chrono::duration_cast<milliseconds>(duration).count();
}

/// From `since` until the condition holds at this end.
Duration timeUntil(SecureEnd& end, const std::function<bool()>& condition, milliseconds patience) {
  const Time since = std::chrono::steady_clock::now();
  EXPECT_TRUE(end.comes(condition, patience));
  return std::chrono::steady_clock::now() - since;
}

TEST(FaultTable, F5ABlackHoleIsNoticedAndLeft) {
  const bool full = faultCount(1, 0) == 1;
  Timing timing;
  if (!full) {  // ten times as fast
    timing.silence = 500ms;
    timing.dead = 1500ms;
  }
  SecurePair pair(timing);
  ASSERT_TRUE(pair.becomesReachable(5s));
  pair.proxy->setBlackHole(true);
  const auto unreachable = [](SecureEnd& end) { return [&end] { return !end.session->state().reachable; }; };
  const Duration noticed = timeUntil(pair.watch, unreachable(pair.watch), timing.dead + 5s);
  EXPECT_LE(noticed, timing.dead + 1s);
  ASSERT_TRUE(pair.phone.comes(unreachable(pair.phone), 2s));
  if (full) std::this_thread::sleep_for(5s);
  pair.proxy->setBlackHole(false);
  const Duration back = timeUntil(
      pair.watch, [&] { return pair.watch.session->state().reachable; }, 10s);
  EXPECT_LE(back, 3s);
  EXPECT_TRUE(pair.becomesReachable(1s));
  FaultRow("F5") << "black hole: unreachable after " << inMilliseconds(noticed) << " ms (silence "
                 << timing.dead.count() << " ms), back " << inMilliseconds(back) << " ms after it healed";
}

TEST(FaultTable, F6TheLastReportOfAToggledLinkIsTheTruth) {
  const int toggles = faultCount(100, 16);
  Timing timing = SecurePair::hasty();
  timing.stateSpacing = Timing{}.stateSpacing;
  SecurePair pair(timing);
  ASSERT_TRUE(pair.becomesReachable(5s));
  std::mt19937_64 dice{6};
  int checked = 0;
  for (int i = 0; i < toggles; ++i) {
    const bool up = i % 2 == 1;
    pair.proxy->setDown(!up);
    std::this_thread::sleep_for(milliseconds(20 + dice() % static_cast<unsigned>(faultCount(1480, 300))));
    if (i % 8 < 6) continue;  // one time up and one time down of four, it may settle
    ++checked;
    for (SecureEnd* end : {&pair.watch, &pair.phone}) {
      EXPECT_TRUE(end->comes([&] { return end->session->state().reachable == up; }, 3s)) << i;
      std::this_thread::sleep_for(timing.stateSpacing + 50ms);
      end->ask([&] {
        EXPECT_EQ(end->notes.told.back().state, end->session->state()) << i;
        EXPECT_EQ(end->notes.told.back().state.reachable, up) << i;
        return true;
      });
    }
  }
  std::size_t reports = 0;
  Duration closest = 1h;
  for (SecureEnd* end : {&pair.watch, &pair.phone}) {
    const auto told = end->ask([&] { return end->notes.told; });
    for (std::size_t i = 1; i < told.size(); ++i) closest = std::min(closest, told[i].at - told[i - 1].at);
    reports += told.size();
  }
  EXPECT_GE(closest, timing.stateSpacing - 50ms);  // as the handlers saw it, on a busy machine
  FaultRow("F6") << toggles << " toggles, " << checked << " settled and true at both ends; " << reports
                 << " reports, never closer than " << inMilliseconds(closest) << " ms";
}

}  // namespace
}  // namespace tunevale::link
