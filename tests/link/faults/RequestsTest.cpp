#include <random>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

enum class Way { reply, silence, twice, thrown, cut, besideACut };

/// Requests of the watch, each of which the phone treats as its way says.
struct Requests {
  Requests() : pair(timing()) {
    pair.phone.notes.onMessage = [this](const PlistDictionary& message, const auto& reply) {
      const auto n = static_cast<std::size_t>(Notebook::numberOf(message));
      switch (ways.at(n)) {
        case Way::silence:
          kept.push_back(reply);
          return;
        case Way::thrown:
          throw std::runtime_error("mistake");
        case Way::cut:
          kept.push_back(reply);
          pair.proxy->cut(n % 2 == 0);
          return;
        case Way::twice:
          reply(message);
          break;  // and once more below
        default:
          break;
      }
      reply(message);
    };
  }

  static Timing timing() {
    Timing timing = SecurePair::hasty();
    timing.reply = 1500ms;
    return timing;
  }

  void send(Way way) {
    const std::size_t n = ways.size();
    // The phone's turn reads what this adds; it does not run while nothing is sent, but for late messages.
    pair.phone.ask([&] {
      ways.push_back(way);
      return 0;
    });
    pair.watch.ask([&] {
      outcomes.emplace_back();
      return 0;
    });
    pair.watch.session->sendMessage(
        {{"n", static_cast<std::int64_t>(n)}},
        [this, n](const PlistDictionary& reply) {
          outcomes[n].push_back(Notebook::numberOf(reply) == static_cast<std::int64_t>(n) ? 0 : -1);
          ++ended;
        },
        [this, n](const Error& error) {
          outcomes[n].push_back(static_cast<int>(error.code));
          ++ended;
        });
  }

  bool settle() {
    return pair.watch.comes([this] { return ended >= outcomes.size(); }, 20s) && pair.becomesReachable(20s);
  }

  static bool isRight(Way way, int outcome) {
    switch (way) {
      case Way::silence:
        return outcome == 7012;
      case Way::thrown:
        return outcome == 7011;
      case Way::cut:
        return outcome == 7014;
      case Way::besideACut:  // it was on its way somewhere
        return outcome == 0 || outcome == 7014 || outcome == 7007;
      default:
        return outcome == 0;
    }
  }

  SecurePair pair;
  std::vector<Way> ways;  // in the phone's turn
  std::vector<SessionDelegate::MessageReply> kept;
  std::vector<std::vector<int>> outcomes;  // in the watch's turn
  std::size_t ended = 0;
};

TEST(FaultTable, F7EveryRequestEndsOnceAndRightly) {
  constexpr int kBlock = 200;  // 5 % of each way, and of what is beside a cut 5 %
  const int blocks = faultCount(kSanitized ? 2000 : 10'000, 200) / kBlock;
  Requests requests;
  std::mt19937_64 dice{7};
  for (int block = 0; block < blocks; ++block) {
    ASSERT_TRUE(requests.settle()) << "block " << block;
    std::vector<Way> ways(kBlock - 20, Way::reply);
    std::fill_n(ways.begin(), 10, Way::silence);
    std::fill_n(ways.begin() + 10, 10, Way::twice);
    std::fill_n(ways.begin() + 20, 10, Way::thrown);
    std::shuffle(ways.begin(), ways.end(), dice);
    for (const Way way : ways) requests.send(way);
    for (int cut = 0; cut < 10; ++cut) {
      ASSERT_TRUE(requests.settle()) << "block " << block << ", cut " << cut;
      requests.send(Way::cut);
      requests.send(Way::besideACut);
    }
  }
  ASSERT_TRUE(requests.settle());
  std::this_thread::sleep_for(100ms);  // for a second answer, if one were to come
  std::map<int, int> counts;
  const auto outcomes = requests.pair.watch.ask([&] { return requests.outcomes; });
  ASSERT_EQ(outcomes.size(), static_cast<std::size_t>(blocks * kBlock));
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    ASSERT_EQ(outcomes[i].size(), 1U) << "request " << i;
    const int outcome = outcomes[i].front();
    EXPECT_TRUE(Requests::isRight(requests.ways[i], outcome))
        << "request " << i << " of way " << static_cast<int>(requests.ways[i]) << " ended in " << outcome;
    ++counts[outcome];
  }
  FaultRow row("F7");
  row << outcomes.size() << " requests, as many ends:";
  for (const auto& [outcome, count] : counts) {
    row << " " << count << " " << (outcome == 0 ? std::string("replies") : std::to_string(outcome));
  }
}

}  // namespace
}  // namespace tunevale::link
