#include <random>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

using std::chrono::milliseconds;

/// How long it takes until this end is reachable, or is not.
Duration timeUntil(SecureEnd& end, bool reachable, milliseconds patience) {
  const Time since = std::chrono::steady_clock::now();
  EXPECT_TRUE(end.comes([&] { return end.session->state().reachable == reachable; }, patience));
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
  const Duration noticed = timeUntil(pair.watch, false, timing.dead + 5s);
  EXPECT_LE(noticed, timing.dead + (full ? 1s : 4s));
  timeUntil(pair.phone, false, 5s);
  if (full) std::this_thread::sleep_for(5s);
  pair.proxy->setBlackHole(false);
  const Duration back = timeUntil(pair.watch, true, 10s);
  EXPECT_LE(back, full ? 3s : 6s);
  EXPECT_TRUE(pair.becomesReachable(5s));
  FaultRow("F5") << "black hole: unreachable after " << noticed / 1ms << " ms (silence "
                 << timing.dead.count() << " ms), back " << back / 1ms << " ms after it healed";
}

TEST(FaultTable, F6TheLastReportOfAToggledLinkIsTheTruth) {
  const int toggles = faultCount(100, 16);
  Timing timing = TlsEnd::hasty();
  timing.stateSpacing = Timing{}.stateSpacing;
  const Time since = std::chrono::steady_clock::now();
  SecurePair pair(timing);
  ASSERT_TRUE(pair.becomesReachable(5s));
  std::mt19937_64 dice{6};
  int checked = 0;
  for (int i = 0; i < toggles; ++i) {
    const bool up = i % 2 == 1;
    pair.proxy->setDown(!up);
    std::this_thread::sleep_for(milliseconds(20 + dice() % static_cast<unsigned>(faultCount(1480, 60))));
    if (i % 8 < 6) continue;  // one time up and one time down of four, it may settle
    ++checked;
    for (SecureEnd* end : {&pair.watch, &pair.phone}) {
      EXPECT_TRUE(end->comes(
          [&] {
            const LinkState now = end->session->state();
            return now.reachable == up && end->notes.states.back() == now;
          },
          5s))
          << i;
    }
  }
  FaultRow row("F6");
  row << toggles << " toggles, " << checked << " settled and true at both ends; reports:";
  for (SecureEnd* end : {&pair.watch, &pair.phone}) {
    const std::size_t reports = end->ask([&] { return end->notes.states.size(); });
    EXPECT_LE(reports, (std::chrono::steady_clock::now() - since) / timing.stateSpacing + 1);
    row << " " << reports;
  }
}

}  // namespace
}  // namespace tunevale::link
