#include <gtest/gtest.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

struct MessagesTest : testing::Test {
  LinkWorld world;
};

TEST_F(MessagesTest, AndMessageDataKeepOneOrder) {
  world.connectAndRun();
  Bytes answer;
  world.phone.ear.onData = [](ByteView data, const auto& reply) { reply(data.first(2)); };
  world.watch.send(1);
  world.watch.session->sendMessageData(
      Bytes(5, std::byte{9}), [&](ByteView reply) { answer.assign(reply.begin(), reply.end()); }, {});
  world.watch.send(2);
  world.strand.run();
  EXPECT_EQ(world.phone.ear.heard, (Lines{"activated", "message 1", "data 5", "message 2"}));
  EXPECT_EQ(answer, Bytes(2, std::byte{9}));
}

TEST_F(MessagesTest, FailAtOnceWhenTheyCannotGo) {
  world.watch.send(1);
  world.strand.run();
  EXPECT_EQ(world.watch.outcomes, Lines{"7007"}) << "nobody is connected";
  ManualStrand strand;
  End fresh(strand, Role::watch);
  fresh.send(1);
  strand.run();
  EXPECT_EQ(fresh.outcomes, Lines{"7004"});
}

TEST_F(MessagesTest, BehindAWriteThatNeverEndsHaveNotLeft) {
  Wire& wire = world.connect({.delay = 1s});
  world.strand.advance(20s);
  ASSERT_TRUE(world.watch.session->state().reachable);
  world.watch.send(1);
  world.watch.send(2);
  world.strand.run();
  wire.cut();
  world.strand.run();
  EXPECT_EQ(world.watch.outcomes, (Lines{"7014", "7007"}));
}

TEST_F(MessagesTest, SayHowMuchOfTheirTimeIsLeft) {
  RawPeer peer(world.strand, world.watch);
  world.strand.advance(3s);
  peer.setReading(false);
  for (int n = 1; n <= 2; ++n) {
    world.watch.send(n);
    world.strand.run();
  }
  world.strand.advance(4s);
  peer.setReading(true);
  world.strand.run();
  EXPECT_EQ(Ear::text(peer.last(FrameType::message).body, "sent"), "7000");
  EXPECT_EQ(Ear::text(peer.last(FrameType::message).body, "ttl"), "6000");
  world.watch.ear.onMessage = [](const auto& message, const auto& reply) { reply(message); };
  for (const std::int64_t sent : {3998, 7000, 3990}) {  // ms: in time but for the clocks, now, and too late
    peer.send(FrameType::message, static_cast<std::uint64_t>(sent),
              PlistDictionary{{"message", PlistDictionary{{"n", sent}}}, {"ttl", 3000}, {"sent", sent}});
  }
  world.strand.run();
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "message 3998", "message 7000"}));
  EXPECT_EQ(peer.refusal(FrameType::messageError), "3990 7012");
  for (const char* key : {"ttl", "sent"}) {  // times that are no whole numbers
    for (const PlistValue& wrong : {PlistValue("9000"), PlistValue(9000.5), PlistValue(-1)}) {
      peer.frames.clear();
      peer.send(FrameType::message, 8000, PlistDictionary{{"message", PlistDictionary{}}, {key, wrong}});
      world.strand.run();
      EXPECT_EQ(peer.refusal(FrameType::messageError), "8000 7010") << key;
    }
  }
  EXPECT_EQ(world.watch.ear.heard.size(), 3U);
}

TEST_F(MessagesTest, OfAnEndThatGoesFail) {
  world.connectAndRun();
  world.phone.ear.onMessage = [](const auto&, const auto&) {};
  world.phone.holding = true;
  world.watch.send(1);
  world.strand.run();
  world.watch.send(2);  // the strand has not come to it yet
  world.watch.session.reset();
  world.strand.run();
  EXPECT_EQ(world.watch.outcomes, (Lines{"7016", "7016"}));
  world.phone.release();
  world.phone.session.reset();
  world.strand.run();
}

}  // namespace
}  // namespace tunevale::link
