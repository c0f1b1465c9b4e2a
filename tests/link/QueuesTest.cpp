#include <gtest/gtest.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

struct QueuesTest : testing::Test, LinkWorld {
  std::uint64_t info(End& end, int n) {
    return std::get<std::uint64_t>(end.session->transferUserInfo({{"n", n}}));
  }
  std::uint64_t file(End& end, int n, const std::string& contents) {
    const std::string path = folder.path("file");
    std::ofstream(path, std::ios::binary) << contents;
    return std::get<std::uint64_t>(end.session->transferFile(path, {{"n", n}}));
  }
  test::TemporaryFolder folder;
};

TEST_F(QueuesTest, AHandlerThatThrowsGetsTheItemThreeTimesAndACancelledItemLeavesNoGap) {
  int calls = 0;
  watch.ear.onUserInfo = [&] {
    if (++calls <= 4) throw std::runtime_error("not now");
  };
  for (int n = 1; n <= 3; ++n) info(phone, n);
  phone.session->cancelUserInfo(2);
  strand.run();
  connectAndRun();
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "info 1", "info 1", "info 1", "info 3", "info 3"}));
  EXPECT_EQ(watch.log, Lines{"Phone link: what came could not be handled: not now"});
  EXPECT_EQ(phone.ear.finished, (Lines{"info 1 ok", "info 3 ok"}));
}

TEST_F(QueuesTest, OnlyTheLatestContextCountsAndAnEqualOneIsNothing) {
  const auto version = [&](int n) {
    return std::get<std::uint64_t>(phone.session->updateApplicationContext({{"n", n}}));
  };
  EXPECT_EQ(version(1), 1U);
  EXPECT_EQ(version(1), 1U) << "nothing new";
  version(2);
  connectAndRun();
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "context 2"}));
  EXPECT_EQ(phone.ear.delivered, 2U);
  EXPECT_EQ(version(2), 2U);
  EXPECT_EQ(version(3), 3U);
  strand.run();
  wires.back()->cut();
  connectAndRun();
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "context 2", "context 3"}));
}

TEST_F(QueuesTest, MessagesOvertakeAFileAndACancelledOneIsForgottenOnBothEnds) {
  file(phone, 1, std::string(kFileChunk * 20, 'x'));
  connect({.slice = 10'000, .delay = 1ms});
  strand.advance(30ms);
  phone.send(1);
  strand.advance(30ms);
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "message 1"}));
  EXPECT_FALSE(std::filesystem::is_empty(watch.spool.path()));
  phone.session->cancelFile(1);
  strand.advance(1s);
  EXPECT_TRUE(std::filesystem::is_empty(watch.spool.path()));
  EXPECT_TRUE(std::filesystem::is_empty(phone.spool.path()));
  file(phone, 2, "two");
  strand.advance(1s);
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "message 1", "file 2"}));
}

TEST_F(QueuesTest, WhatComesTwiceOrMakesNoSenseIsAnsweredAndBlocksNothing) {
  watch.session->updateApplicationContext({{"n", 1}});
  RawPeer peer(strand, watch);
  EXPECT_EQ(peer.last(FrameType::context).id, 1U) << "the 7th of another numbering says nothing of it";
  peer.send(FrameType::item, 1, asBytes("no list"));
  for (int i = 0; i < 2; ++i) {
    peer.send(FrameType::item, 2, PlistDictionary{{"n", 2}});
    peer.send(FrameType::context, 2, PlistDictionary{{"n", 2}});
  }
  peer.send(FrameType::item, 3, ByteView{});
  peer.send(FrameType::context, 3, ByteView{});
  strand.run();
  Lines heard = watch.ear.heard;
  std::sort(heard.begin() + 1, heard.end());
  EXPECT_EQ(heard, (Lines{"activated", "context 2", "context ?", "info 2", "info ?"})) << "empty: no keys";
  EXPECT_EQ(peer.refusal(FrameType::nak), "1 7010");
  EXPECT_EQ(peer.last(FrameType::ack).id, 3U);
  EXPECT_EQ(peer.last(FrameType::contextAck).id, 3U);

  const PlistDictionary good{{"size", 4}, {"metadata", PlistDictionary{{"n", 1}}}, {"sha256", Bytes(32)}};
  using Entry = std::pair<const char*, PlistValue>;
  const auto offer = [&](const Entry& entry) {
    PlistDictionary body = good;
    body.set(entry.first, entry.second);
    peer.frames.clear();
    peer.send(FrameType::fileBegin, 1, body);
  };
  for (const Entry& wrong : {Entry{"size", "4"},
                             {"size", -4},
                             {"size", 4.0},
                             {"metadata", "none"},
                             {"sha256", Bytes(31)},
                             {"size", std::int64_t{kMostFile} + 1},
                             {"metadata", PlistDictionary{{"b", Bytes(kMostMetadata)}}}}) {
    offer(wrong);
    peer.send(FrameType::fileData, 1, PlistDictionary{{"offset", 0}, {"data", Bytes(4)}});  // under way then
    strand.run();
    const bool isTooLarge = wrong.second.integer() > 4 || wrong.second.dictionary() != nullptr;
    EXPECT_EQ(peer.refusal(FrameType::fileError), isTooLarge ? "1 7009" : "1 7010");
  }
  offer({"size", std::int64_t{kMostFile}});
  strand.run();
  EXPECT_EQ(peer.last(FrameType::fileHave).id, 1U);
  EXPECT_EQ(peer.refusal(FrameType::fileError), "0 0");
  EXPECT_FALSE(peer.ended);
  EXPECT_EQ(watch.ear.heard.size(), 5U);
}

TEST_F(QueuesTest, MessagesAndDataOfThemKeepOneOrderAndFailWithTheirEnd) {
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

TEST_F(QueuesTest, MessagesBehindAWriteThatNeverEndsHaveNotLeft) {
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

TEST_F(QueuesTest, MessagesSayHowMuchOfTheirTimeIsLeft) {
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
