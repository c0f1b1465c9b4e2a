#include <gtest/gtest.h>

#include "link/Connector.h"
#include "link/LinkWorld.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

TEST(Connector, WaitsLongerWithEveryFailureAndForgetsThemInHealth) {
  LinkWorld world;
  const Timing timing;
  std::vector<Time> dials;
  bool works = false;
  struct Attempt : Dialing {};
  Connector connector(
      world.strand, *world.phone.session,
      [&](Dialed dialed) {
        dials.push_back(world.strand.now());
        world.strand.post([&, dialed] {
          if (!works) return dialed(nullptr);
          world.wires.push_back(std::make_unique<Wire>(world.strand));
          world.watch.session->adopt(world.wires.back()->takeSecond(), false);
          dialed(world.wires.back()->takeFirst());
        });
        return std::make_unique<Attempt>();
      },
      timing);
  connector.start();
  world.strand.advance(60s);
  EXPECT_GE(dials.size(), 30U);
  EXPECT_LE(dials.size(), 200U);
  Duration longest{};
  for (std::size_t i = 1; i < dials.size(); ++i) longest = std::max(longest, dials[i] - dials[i - 1]);
  EXPECT_GT(longest, 1s);
  EXPECT_LE(longest, timing.lastReconnect);
  EXPECT_LE(dials.at(1) - dials.at(0), timing.firstReconnect);
  works = true;
  world.strand.advance(15s);
  ASSERT_TRUE(world.watch.session->state().reachable);
  const std::size_t before = dials.size();
  world.wires.back()->cut();
  world.strand.advance(timing.firstReconnect);
  EXPECT_EQ(dials.size(), before + 1) << "a healthy connection forgets the failures before it";
  EXPECT_EQ(timingTo({"127.0.0.1", 1}, timing).lastReconnect, 2s);
  EXPECT_EQ(timingTo({"192.0.2.1", 1}, timing).lastReconnect, 30s);
  connector.stop();
  world.strand.advance(10s);
  EXPECT_FALSE(world.watch.session->state().connected);
  EXPECT_EQ(dials.size(), before + 1);
}

}  // namespace
}  // namespace tunevale::link
