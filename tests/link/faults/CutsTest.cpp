#include <random>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kUsualBytes =
    3500;  // about, both ways: the handshake, the introductions and a few items

/// What happens to one connection: each kind in turn, its measure by chance.
FaultProxy::Faults faultsFor(int round, std::mt19937_64& dice) {
  FaultProxy::Faults faults;
  const bool hasFile = round % 3 == 0 || round % 5 == 0;
  const std::size_t most = kUsualBytes + (hasFile && dice() % 2 == 0 ? 40'000 : 0);
  switch (round % 6) {
    case 0:
    case 1:
      faults.cutAfter = 1 + dice() % most;
      faults.reset = round % 12 < 6;
      break;
    case 2:
      faults.slice = 1;
      faults.cutAfter = 1 + dice() % kUsualBytes;
      break;
    case 3:
      faults.delay = std::chrono::microseconds(dice() % 20'000);
      faults.slice = 1 + dice() % 3000;
      faults.cutAfter = 1 + dice() % most;
      faults.reset = true;
      break;
    case 4:
      faults.bytesPerSecond = 32 * 1024;
      faults.cutAfter = 1 + dice() % std::min<std::size_t>(most, 12'000);
      break;
    default:
      faults.slice = 1 + dice() % 40;  // and never cut
      break;
  }
  return faults;
}

struct Sent {
  std::vector<std::int64_t> infos;
  std::vector<std::int64_t> files;
};

struct Cuts {
  void queue(SecureEnd& end, Sent& sent, int infos, bool file) {
    for (int i = 0; i < infos; ++i) {
      sent.infos.push_back(++next);
      end.queueInfo(next);
    }
    if (file) {
      sent.files.push_back(++next);
      end.queueFile(next);
    }
  }

  bool drained() {
    const auto has = [](SecureEnd& end, const Sent& sent, std::int64_t wanted) {
      return end.ask([&] {
        return end.notes.infos.size() >= sent.infos.size() && end.notes.files.size() >= sent.files.size() &&
               end.notes.context_ == wanted;
      });
    };
    const auto finished = [](SecureEnd& end, const Sent& sent) {
      return end.ask([&] { return end.notes.finished >= sent.infos.size() + sent.files.size(); });
    };
    return has(pair.watch, fromPhone, context) && has(pair.phone, fromWatch, -1) &&
           finished(pair.phone, fromPhone) && finished(pair.watch, fromWatch);
  }

  void round(int number) {
    pair.proxy->spoilNext(faultsFor(number, dice));
    pair.proxy->cut(number % 2 == 0);
    context = ++next;
    pair.phone.session->updateApplicationContext({{"n", context}});
    queue(pair.phone, fromPhone, 1 + number % 5, number % 3 == 0);
    queue(pair.watch, fromWatch, number % 4, number % 5 == 0);
    // As long as the fault lasts, and no longer: then the way is sound again.
    const std::size_t before = pair.proxy->cuts();
    for (int i = 0; i < 300 && pair.proxy->cuts() == before && !drained(); ++i)
      std::this_thread::sleep_for(2ms);
    pair.proxy->cut(false);
    const auto sound = std::chrono::steady_clock::now();
    while (!drained() && std::chrono::steady_clock::now() - sound < 10s) std::this_thread::sleep_for(2ms);
    slowest = std::max(slowest, std::chrono::steady_clock::now() - sound);
  }

  SecurePair pair;
  std::mt19937_64 dice{4};
  std::int64_t next = 0;
  std::int64_t context = -1;
  Sent fromPhone;
  Sent fromWatch;
  std::chrono::steady_clock::duration slowest{};
};

TEST(FaultTable, F4CutsAtAnyByteLoseNothingAndRepeatNothing) {
  Cuts cuts;
  ASSERT_TRUE(cuts.pair.becomesReachable(5s));
  const int rounds = faultCount(kSanitized ? 60 : 300, 24);
  for (int i = 0; i < rounds && !HasFailure(); ++i) {
    SCOPED_TRACE("round " + std::to_string(i));
    cuts.round(i);
    EXPECT_TRUE(cuts.drained());
  }
  for (const auto& [end, sent] :
       {std::pair(&cuts.pair.watch, &cuts.fromPhone), std::pair(&cuts.pair.phone, &cuts.fromWatch)}) {
    EXPECT_EQ(end->notes.infos, sent->infos);
    EXPECT_EQ(end->notes.files, sent->files);
    EXPECT_EQ(end->notes.damagedFiles, 0U);
    EXPECT_EQ(end->notes.failed, 0U);
    EXPECT_EQ(end->notes.resets, 0U);
  }
  // In between other tests a machine may be busy; within 10 s it is all the same.
  EXPECT_LE(cuts.slowest, faultCount(1, 0) == 1 ? 2s : 10s);
  EXPECT_GT(cuts.pair.proxy->cuts(), static_cast<std::size_t>(rounds) / 2);
  FaultRow("F4") << rounds << " connections spoiled, " << cuts.pair.proxy->cuts() << " cut on the way; "
                 << cuts.fromPhone.infos.size() + cuts.fromWatch.infos.size() << " items and "
                 << cuts.fromPhone.files.size() + cuts.fromWatch.files.size()
                 << " files once and in order, drained within "
                 << std::chrono::duration_cast<std::chrono::milliseconds>(cuts.slowest).count() << " ms";
}

}  // namespace
}  // namespace tunevale::link
