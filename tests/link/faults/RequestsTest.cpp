#include <random>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

/// How the phone treats a request of the watch.
enum class Way { reply, silence, twice, thrown, cut, besideACut };
/// How it may end: 0 is the right reply.
const std::map<Way, std::set<int>> kRight = {
    {Way::reply, {0}},  {Way::silence, {7012}},
    {Way::twice, {0}},  {Way::thrown, {7011}},
    {Way::cut, {7014}}, {Way::besideACut, {0, 7014, 7007}}};  // it was on its way somewhere

TEST(FaultTable, F7EveryRequestEndsOnceAndRightly) {
  constexpr int kBlock = 200;  // 5 % of each way, and of what is beside a cut 5 %
  std::vector<Way> ways;
  std::mt19937_64 dice{7};
  while (ways.size() < static_cast<std::size_t>(faultCount(kSanitized ? 2000 : 10'000, kBlock))) {
    const auto block = static_cast<std::ptrdiff_t>(ways.size());
    ways.resize(ways.size() + kBlock - 20, Way::reply);
    for (const Way way : {Way::silence, Way::twice, Way::thrown})
      std::fill_n(ways.begin() + block + 10 * static_cast<int>(way), 10, way);
    std::shuffle(ways.begin() + block, ways.end(), dice);
    for (int cut = 0; cut < 10; ++cut) ways.insert(ways.end(), {Way::cut, Way::besideACut});
  }
  std::vector<std::vector<int>> outcomes(ways.size());
  std::size_t sent = 0, ended = 0;  // these three in the watch's turn

  Timing timing = TlsEnd::hasty();
  timing.reply = 1500ms;
  SecurePair pair(timing);
  std::vector<SessionDelegate::MessageReply> kept;
  pair.phone.notes.onMessage = [&](const PlistDictionary& message, const auto& reply) {
    const auto n = static_cast<std::size_t>(QueueApp::numberIn(message));
    const Way way = ways.at(n);
    if (way == Way::thrown) throw std::runtime_error("mistake");
    if (way == Way::cut) pair.proxy->cut(n % 4 == 0);
    if (way == Way::cut || way == Way::silence) return kept.push_back(reply);
    if (way == Way::twice) reply(message);
    reply(message);
  };
  const auto settles = [&] {
    return pair.watch.comes([&] { return ended >= sent; }, 20s) && pair.becomesReachable(20s);
  };
  for (std::size_t i = 0; i < ways.size(); ++i) {
    ASSERT_TRUE((i % kBlock != 0 && ways[i] != Way::cut) || settles()) << "request " << i;
    const auto end = [&, i](int outcome) {
      outcomes[i].push_back(outcome);
      ++ended;
    };
    const auto n = static_cast<std::int64_t>(i);
    pair.watch.loop.post([&] { ++sent; });
    pair.watch.session->sendMessage(
        {{"n", n}}, [=](const PlistDictionary& reply) { end(QueueApp::numberIn(reply) == n ? 0 : -1); },
        [=](const Error& error) { end(static_cast<int>(error.code)); });
  }
  ASSERT_TRUE(settles());
  std::this_thread::sleep_for(100ms);  // for a second answer, if one were to come
  std::map<int, int> counts;
  for (std::size_t i = 0; i < ways.size(); ++i) {
    const auto outcome = pair.watch.ask([&] { return outcomes[i]; });
    ASSERT_EQ(outcome.size(), 1U) << "request " << i;
    EXPECT_TRUE(kRight.at(ways[i]).contains(outcome[0]))
        << "request " << i << " of way " << static_cast<int>(ways[i]) << " ended in " << outcome[0];
    ++counts[outcome[0]];
  }
  FaultRow row("F7");
  row << ways.size() << " requests, as many ends:";
  for (const auto& [outcome, count] : counts)
    row << " " << count << " " << (outcome == 0 ? std::string("replies") : std::to_string(outcome));
}

}  // namespace
}  // namespace tunevale::link
