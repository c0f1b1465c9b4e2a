#include <gtest/gtest.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

struct MessagesTest : testing::Test, LinkWorld {};

TEST_F(MessagesTest, AndMessageDataKeepOneOrderAndFailWithTheirEnd) {
  connectAndRun();
  Bytes answer;
  phone.ear.onData = [](ByteView data, const auto& reply) { reply(data.first(2)); };
  watch.send(1);
  watch.session->sendMessageData(Bytes(5, std::byte{9}),
                                 [&](ByteView reply) { answer.assign(reply.begin(), reply.end()); }, {});
  watch.send(2);
  strand.run();
  EXPECT_EQ(phone.ear.heard, (Lines{"activated", "message 1", "data 5", "message 2"}));
  EXPECT_EQ(answer, Bytes(2, std::byte{9}));
  phone.holding = true;
  watch.send(3);
  strand.run();
  watch.send(4);  // the strand has not come to it yet
  watch.session.reset();
  strand.run();
  EXPECT_EQ(watch.outcomes, (Lines{"reply 1", "reply 2", "7016", "7016"}));
  phone.release();
  phone.session.reset();
  strand.run();
}

TEST_F(MessagesTest, BehindAWriteThatNeverEndsHaveNotLeft) {
  Wire& wire = connect({.delay = 1s});
  strand.advance(20s);
  ASSERT_TRUE(watch.session->state().reachable);
  watch.send(1);
  watch.send(2);
  strand.run();
  wire.cut();
  strand.run();
  EXPECT_EQ(watch.outcomes, (Lines{"7014", "7007"}));
}

TEST_F(MessagesTest, SayHowMuchOfTheirTimeIsLeft) {
  RawPeer peer(strand, watch);
  strand.advance(3s);
  peer.setReading(false);
  for (int n = 1; n <= 2; ++n) {
    watch.send(n);
    strand.run();
  }
  strand.advance(4s);
  peer.setReading(true);
  strand.run();
  EXPECT_EQ(Ear::text(peer.last(FrameType::message).body, "sent"), "7000");
  EXPECT_EQ(Ear::text(peer.last(FrameType::message).body, "ttl"), "6000");
  watch.ear.onMessage = [](const auto& message, const auto& reply) { reply(message); };
  for (const std::int64_t sent : {3998, 7000, 3990}) {  // ms: in time but for the clocks, now, and too late
    peer.send(FrameType::message, static_cast<std::uint64_t>(sent),
              PlistDictionary{{"message", PlistDictionary{{"n", sent}}}, {"ttl", 3000}, {"sent", sent}});
  }
  strand.run();
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "message 3998", "message 7000"}));
  EXPECT_EQ(peer.refusal(FrameType::messageError), "3990 7012");
  for (const char* key : {"ttl", "sent"}) {  // times that are no whole numbers
    for (const PlistValue& wrong : {PlistValue("9000"), PlistValue(9000.5), PlistValue(-1)}) {
      peer.frames.clear();
      peer.send(FrameType::message, 8000, PlistDictionary{{"message", PlistDictionary{}}, {key, wrong}});
      strand.run();
      EXPECT_EQ(peer.refusal(FrameType::messageError), "8000 7010") << key;
    }
  }
  EXPECT_EQ(watch.ear.heard.size(), 3U);
}

}  // namespace
}  // namespace tunevale::link
