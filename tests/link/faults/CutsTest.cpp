#include <random>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

using Clock = std::chrono::steady_clock;

/// What happens to one connection: each kind in turn, its measure by chance.
FaultProxy::Faults faultsFor(int round, std::mt19937_64& dice) {
  // About what a connection carries, both ways: the handshake, the introductions and a few items, and a file.
  const std::size_t usual = 3500, most = usual + (dice() % 2 == 0 ? 40'000 : 0);
  const auto upTo = [&](std::size_t limit) { return 1 + dice() % limit; };
  switch (round % 6) {
    case 0:
    case 1:
      return {.cutAfter = upTo(most), .reset = round % 12 < 6};
    case 2:
      return {.slice = 1, .cutAfter = upTo(usual)};
    case 3:
      return {.slice = upTo(3000),
              .delay = std::chrono::microseconds(upTo(20'000)),
              .cutAfter = upTo(most),
              .reset = true};
    case 4:  // 32 KiB a second
      return {.slice = 1024, .delay = 31ms, .cutAfter = upTo(std::min<std::size_t>(most, 12'000))};
    default:
      return {.slice = upTo(40)};  // and never cut
  }
}

struct Cuts {
  struct Way {
    void queue(std::int64_t& last, int infos, bool file) {
      for (int i = 0; i < infos; ++i) from.queueInfo(wanted.infos.emplace_back(++last));
      if (file) from.queueFile(wanted.files.emplace_back(++last));
    }
    std::string missing() {
      const std::string wrong = to.ask([this] { return complaint(to.notes.effects, wanted); });
      const std::size_t sent = wanted.infos.size() + wanted.files.size();
      if (!wrong.empty() || from.ask([&] { return from.notes.finished == sent; })) return wrong;
      return "not all are said to have come";
    }
    SecureEnd& from;
    SecureEnd& to;
    Wanted wanted{};
  };

  bool drained() { return toWatch.missing().empty() && toPhone.missing().empty(); }
  void round(int number) {
    pair.proxy->spoilNext(faultsFor(number, dice));
    pair.proxy->cut(number % 2 == 0);
    pair.phone.session->updateApplicationContext({{"n", toWatch.wanted.lastContext = ++next}});
    toWatch.queue(next, 1 + number % 5, number % 3 == 0);
    toPhone.queue(next, number % 4, number % 5 == 0);
    // As long as the fault lasts, and no longer: then the way is sound again.
    const std::size_t before = pair.proxy->cuts();
    for (int i = 0; i < 300 && pair.proxy->cuts() == before && !drained(); ++i)
      std::this_thread::sleep_for(2ms);
    pair.proxy->cut(false);
    const auto sound = Clock::now();
    while (!drained() && Clock::now() - sound < 10s) std::this_thread::sleep_for(2ms);
    slowest = std::max(slowest, Clock::now() - sound);
    EXPECT_EQ(toWatch.missing() + toPhone.missing(), "") << "round " << number;
  }

  SecurePair pair;
  Way toWatch{pair.phone, pair.watch};
  Way toPhone{pair.watch, pair.phone};
  std::mt19937_64 dice{4};
  std::int64_t next = 0;
  Clock::duration slowest{};
};

TEST(FaultTable, F4CutsAtAnyByteLoseNothingAndRepeatNothing) {
  Cuts cuts;
  ASSERT_TRUE(cuts.pair.becomesReachable(5s));
  const int rounds = faultCount(kSanitized ? 60 : 300, 24);
  for (int i = 0; i < rounds && !HasFailure(); ++i) cuts.round(i);
  EXPECT_EQ(cuts.pair.watch.notes.failed + cuts.pair.phone.notes.failed, 0U);
  // In between other tests a machine may be busy; within 10 s it is all the same.
  EXPECT_LE(cuts.slowest, faultCount(1, 0) == 1 ? 2s : 10s);
  EXPECT_GT(cuts.pair.proxy->cuts(), static_cast<std::size_t>(rounds) / 2);
  const Wanted &one = cuts.toWatch.wanted, &other = cuts.toPhone.wanted;
  FaultRow("F4") << rounds << " connections spoiled, " << cuts.pair.proxy->cuts() << " cut on the way; "
                 << one.infos.size() + other.infos.size() << " items and "
                 << one.files.size() + other.files.size() << " files once and in order, drained within "
                 << cuts.slowest / 1ms << " ms";
}

}  // namespace
}  // namespace tunevale::link
