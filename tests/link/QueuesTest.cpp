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

TEST_F(QueuesTest, TooMuchIsRefusedOnTheCall) {
  const auto large = world.phone.session->transferUserInfo({{"b", Bytes(kMostUserInfo)}});
  EXPECT_EQ(std::get<Error>(large).code, ErrorCode::payloadTooLarge);
  for (std::size_t i = 0; i < kMostQueuedRows; ++i) info(world.phone, 1);
  EXPECT_EQ(std::get<Error>(world.phone.session->transferUserInfo({})).code, ErrorCode::insufficientSpace);
  End fresh(world.strand, Role::phone);
  EXPECT_EQ(std::get<Error>(fresh.session->transferUserInfo({})).code, ErrorCode::notActivated);
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

TEST_F(QueuesTest, AnItemThatDoesNotDecodeIsRefusedAndBlocksNothing) {
  RawPeer peer(world.strand, world.watch);
  peer.send(FrameType::item, 1, asBytes("no list"));
  peer.send(FrameType::item, 2, PlistDictionary{{"n", 2}});
  peer.send(FrameType::item, 2, PlistDictionary{{"n", 2}});
  world.strand.run();
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "info 2"}));
  ASSERT_NE(peer.last(FrameType::nak), nullptr);
  EXPECT_EQ(peer.last(FrameType::nak)->id, 1U);
  EXPECT_EQ(peer.last(FrameType::ack)->id, 2U);
  peer.send(FrameType::item, ~std::uint64_t{0}, PlistDictionary{{"n", 3}});
  world.strand.run();
  EXPECT_TRUE(peer.ended) << "a number that would overflow";
}

TEST_F(QueuesTest, EmptyBodiesAreEmptyDictionaries) {
  RawPeer peer(world.strand, world.watch);
  peer.send(FrameType::item, 1, ByteView{});
  peer.send(FrameType::context, 1, ByteView{});
  world.strand.run();
  EXPECT_FALSE(peer.ended);
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "context ?", "info ?"}));
  EXPECT_EQ(peer.last(FrameType::nak), nullptr);
  EXPECT_NE(peer.last(FrameType::contextAck), nullptr);
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

TEST_F(QueuesTest, FilesThatCannotGoAreRefused) {
  const auto codeOf = [](const Session::Transfer& transfer) { return std::get<Error>(transfer).code; };
  EXPECT_EQ(codeOf(world.phone.session->transferFile("", {})), ErrorCode::invalidParameter);
  EXPECT_EQ(codeOf(world.phone.session->transferFile("/nonexistent", {})), ErrorCode::fileAccessDenied);
  EXPECT_EQ(codeOf(world.phone.session->transferFile("/dev/zero", {})), ErrorCode::fileAccessDenied);
  const std::string path = folder.path("big");
  std::ofstream(path) << "";
  std::filesystem::resize_file(path, kMostFile + 1);
  EXPECT_EQ(codeOf(world.phone.session->transferFile(path, {})), ErrorCode::payloadTooLarge);
  EXPECT_EQ(codeOf(world.phone.session->transferFile(path, {{"b", Bytes(kMostMetadata)}})),
            ErrorCode::payloadTooLarge);
  EXPECT_TRUE(std::filesystem::is_empty(world.phone.spool.path()));
}

TEST_F(QueuesTest, HostileFilesAreRefusedOrCloseTheConnection) {
  {
    RawPeer peer(world.strand, world.watch);
    const auto offer = [&](std::uint64_t number, const PlistDictionary& body) {
      peer.send(FrameType::fileBegin, number, body);
      world.strand.run();
    };
    const auto ofSize = [](std::int64_t size) {
      return PlistDictionary{{"size", size}, {"metadata", PlistDictionary{}}, {"sha256", Bytes(32)}};
    };
    const auto refusal = [&] { return Ear::text(peer.last(FrameType::fileError)->body, "code"); };
    offer(1, ofSize(kMostFile));
    EXPECT_EQ(peer.last(FrameType::fileError), nullptr);
    EXPECT_EQ(peer.last(FrameType::fileHave)->id, 1U);
    offer(2, ofSize(kMostFile + 1));
    EXPECT_EQ(refusal(), "7009");
    offer(2, {{"size", 4}, {"metadata", PlistDictionary{}}});
    EXPECT_EQ(refusal(), "7010");
    offer(3, ofSize(4));
    peer.send(FrameType::fileData, 3, PlistDictionary{{"offset", 0}, {"data", Bytes(5)}});
    world.strand.run();
    EXPECT_TRUE(peer.ended) << "more than was announced";
  }
  RawPeer peer(world.strand, world.watch);
  peer.send(FrameType::fileData, 9, PlistDictionary{{"offset", 0}, {"data", Bytes(5)}});
  world.strand.run();
  EXPECT_TRUE(peer.ended) << "never announced";
  EXPECT_EQ(world.watch.ear.heard.back(), "reset");
}

}  // namespace
}  // namespace tunevale::link
