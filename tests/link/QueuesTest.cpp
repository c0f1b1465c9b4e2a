#include <gtest/gtest.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

struct QueuesTest : testing::Test {
  std::uint64_t info(End& end, int n) {
    return std::get<std::uint64_t>(end.session->transferUserInfo({{"n", n}}));
  }
  std::uint64_t file(End& end, int n, const std::string& contents) {
    const std::string path = folder.path("file");
    std::ofstream(path, std::ios::binary) << contents;
    return std::get<std::uint64_t>(end.session->transferFile(path, {{"n", n}}));
  }
  LinkWorld world;
  test::TemporaryFolder folder;
};

TEST_F(QueuesTest, ACancelledItemLeavesNoGap) {
  info(world.phone, 1);
  const std::uint64_t second = info(world.phone, 2);
  info(world.phone, 3);
  world.phone.session->cancelUserInfo(second);
  world.strand.run();
  world.connectAndRun();
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "info 1", "info 3"}));
  EXPECT_EQ(world.phone.ear.finished, (Lines{"info 1 ok", "info 3 ok"}));
}

TEST_F(QueuesTest, AHandlerThatThrowsGetsTheItemThreeTimes) {
  int calls = 0;
  world.watch.ear.onUserInfo = [&] {
    if (++calls <= 4) throw std::runtime_error("not now");
  };
  info(world.phone, 1);
  info(world.phone, 2);
  world.connectAndRun();
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "info 1", "info 1", "info 1", "info 2", "info 2"}));
  EXPECT_EQ(world.watch.log, Lines{"Phone link: what came could not be handled: not now"});
}

TEST_F(QueuesTest, AFreshReceiverStartsWhereTheSenderStands) {
  info(world.phone, 1);
  world.connectAndRun();
  End watch(world.strand, Role::watch);  // the watch's process is a new one
  watch.session->activate();
  info(world.phone, 2);
  world.wires.back()->cut();
  world.strand.run();
  Wire wire(world.strand);
  watch.session->adopt(wire.takeSecond(), false);
  world.phone.session->adopt(wire.takeFirst(), true);
  world.strand.advance(1s);
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "info 2"})) << "and that is no reset";
  EXPECT_NE(world.phone.ear.states.back().peerRun, world.phone.ear.states.front().peerRun);
}

TEST_F(QueuesTest, OnlyTheLatestContextCountsAndAnEqualOneIsNothing) {
  const auto version = [&](int n) {
    return std::get<std::uint64_t>(world.phone.session->updateApplicationContext({{"n", n}}));
  };
  version(1);
  version(2);
  world.connectAndRun();
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "context 2"}));
  EXPECT_EQ(world.phone.ear.delivered, 2U);
  EXPECT_EQ(version(2), 2U);
  EXPECT_EQ(version(3), 3U);
  world.strand.run();
  world.wires.back()->cut();
  world.connectAndRun();
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "context 2", "context 3"}));
}

TEST_F(QueuesTest, ACancelledFileIsForgottenOnBothEnds) {
  file(world.phone, 1, std::string(kFileChunk * 20, 'x'));
  file(world.phone, 2, "two");
  world.connect({.slice = 10'000, .delay = 1ms});
  world.strand.advance(30ms);
  EXPECT_FALSE(std::filesystem::is_empty(world.watch.spool.path()));
  world.phone.session->cancelFile(1);
  world.strand.advance(1s);
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "file 2"}));
  EXPECT_TRUE(std::filesystem::is_empty(world.watch.spool.path()));
  EXPECT_TRUE(std::filesystem::is_empty(world.phone.spool.path()));
}

TEST_F(QueuesTest, MessagesOvertakeAFile) {
  file(world.phone, 1, std::string(kFileChunk * 20, 'x'));
  world.connect({.slice = 10'000, .delay = 1ms});
  world.strand.advance(30ms);
  world.phone.send(1);
  world.strand.advance(1s);
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "message 1", "file 1"}));
}

TEST_F(QueuesTest, WhatComesTwiceOrMakesNoSenseIsAnsweredAndBlocksNothing) {
  RawPeer peer(world.strand, world.watch);
  peer.send(FrameType::item, 1, asBytes("no list"));
  for (int i = 0; i < 2; ++i) {
    peer.send(FrameType::item, 2, PlistDictionary{{"n", 2}});
    peer.send(FrameType::context, 2, PlistDictionary{{"n", 2}});
  }
  peer.send(FrameType::item, 3, ByteView{});
  peer.send(FrameType::context, 3, ByteView{});
  world.strand.run();
  Lines heard = world.watch.ear.heard;
  std::sort(heard.begin() + 1, heard.end());
  EXPECT_EQ(heard, (Lines{"activated", "context 2", "context ?", "info 2", "info ?"})) << "empty: no keys";
  EXPECT_EQ(peer.refusal(FrameType::nak), "1 7010");
  EXPECT_EQ(peer.last(FrameType::ack).id, 3U);
  EXPECT_EQ(peer.last(FrameType::contextAck).id, 3U);

  const PlistDictionary good{{"size", 4}, {"metadata", PlistDictionary{{"n", 1}}}, {"sha256", Bytes(32)}};
  const auto with = [&](const char* key, const PlistValue& value) {
    PlistDictionary body = good;
    body.set(key, value);
    return body;
  };
  PlistDictionary sizeless = good;
  sizeless.remove("size");
  const std::pair<PlistDictionary, const char*> offers[] = {
      {with("size", std::int64_t{kMostFile} + 1), "1 7009"},
      {with("size", "4"), "1 7010"},
      {with("size", -4), "1 7010"},
      {with("size", 4.0), "1 7010"},
      {with("metadata", "none"), "1 7010"},
      {with("sha256", Bytes(31)), "1 7010"},
      {sizeless, "1 7010"}};
  for (const auto& [offer, refusal] : offers) {
    peer.frames.clear();
    peer.send(FrameType::fileBegin, 1, offer);
    peer.send(FrameType::fileData, 1, PlistDictionary{{"offset", 0}, {"data", Bytes(4)}});  // under way then
    world.strand.run();
    EXPECT_EQ(peer.refusal(FrameType::fileError), refusal);
  }
  peer.send(FrameType::fileBegin, 1, with("size", std::int64_t{kMostFile}));
  peer.send(FrameType::fileBegin, 2, good);
  peer.send(FrameType::fileData, 2, PlistDictionary{{"offset", 0}, {"data", Bytes(4)}});
  world.strand.run();
  EXPECT_EQ(peer.last(FrameType::fileHave).id, 2U);
  EXPECT_EQ(peer.refusal(FrameType::fileError), "2 7014") << "that is not its SHA-256";
  EXPECT_FALSE(peer.ended);
  EXPECT_EQ(world.watch.ear.heard.size(), 5U);
  EXPECT_TRUE(std::filesystem::is_empty(world.watch.spool.path()));
}

}  // namespace
}  // namespace tunevale::link
