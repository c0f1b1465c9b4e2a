// The limits on what is not trusted, each at its edge: the largest is taken, a byte more is refused and said
// so. Frames, files' sizes, sockets before authentication and the rate have tests beside what they belong to.
#include <gtest/gtest.h>

#include "link/FrameWriter.h"
#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

/// A dictionary that takes exactly so many bytes as a property list.
PlistDictionary ofSize(std::size_t bytes) {
  std::size_t payload = bytes - 100;
  for (;;) {
    PlistDictionary body{{"b", Bytes(payload)}};
    const std::size_t size = writePropertyList(body).size();
    if (size == bytes) return body;
    payload += bytes - size;
  }
}

/// A dictionary of so many containers, one inside the other.
PlistDictionary ofDepth(int containers) {
  PlistDictionary body;
  for (int i = 1; i < containers; ++i) body = PlistDictionary{{"d", body}};
  return body;
}

struct LimitsTest : testing::Test {
  LimitsTest() {
    world.watch.ear.onMessage = [](const auto&, const auto& reply) { reply({}); };
  }
  int codeOf(const RawPeer::Received* frame) {
    return frame == nullptr ? 0 : static_cast<int>(numberIn(frame->body, "code"));
  }
  LinkWorld world;
};

TEST_F(LimitsTest, OfWhatAReceiverTakes) {
  RawPeer peer(world.strand, world.watch);
  const auto heard = [&] { return world.watch.ear.heard.size(); };
  const std::size_t before = heard();

  peer.send(FrameType::message, 1, PlistDictionary{{"message", ofSize(kMostMessage)}, {"ttl", 9}});
  peer.send(FrameType::message, 2, PlistDictionary{{"data", Bytes(kMostMessageData)}, {"ttl", 9}});
  world.strand.run();
  EXPECT_EQ(heard(), before + 2);
  EXPECT_EQ(peer.last(FrameType::reply)->id, 1U);
  for (const auto& body : {PlistDictionary{{"message", ofSize(kMostMessage + 1)}},
                           PlistDictionary{{"data", Bytes(kMostMessageData + 1)}}}) {
    peer.send(FrameType::message, 3, body);
    world.strand.run();
    EXPECT_EQ(peer.last(FrameType::messageError)->id, 3U);
    EXPECT_EQ(codeOf(peer.last(FrameType::messageError)), 7009);
    peer.frames.clear();
  }
  EXPECT_EQ(heard(), before + 2);

  peer.send(FrameType::item, 1, ofSize(kMostUserInfo));
  peer.send(FrameType::item, 2, ofSize(kMostUserInfo + 1));
  world.strand.run();
  EXPECT_EQ(heard(), before + 3);
  EXPECT_EQ(peer.last(FrameType::nak)->id, 2U);
  EXPECT_EQ(codeOf(peer.last(FrameType::nak)), 7009);
  EXPECT_EQ(peer.last(FrameType::ack)->id, 2U) << "it blocks nothing";

  peer.send(FrameType::context, 1, ofSize(kMostContext));
  peer.send(FrameType::context, 2, ofSize(kMostContext + 1));
  world.strand.run();
  EXPECT_EQ(heard(), before + 4);
  EXPECT_EQ(peer.last(FrameType::contextAck)->id, 2U);

  const auto offer = [&](std::uint64_t number, std::size_t metadata) {
    peer.send(FrameType::fileBegin, number,
              PlistDictionary{{"size", 1}, {"metadata", ofSize(metadata)}, {"sha256", Bytes(32)}});
    world.strand.run();
  };
  offer(1, kMostMetadata);
  EXPECT_EQ(peer.last(FrameType::fileHave)->id, 1U);
  offer(2, kMostMetadata + 1);
  EXPECT_EQ(peer.last(FrameType::fileError)->id, 2U);
  EXPECT_EQ(codeOf(peer.last(FrameType::fileError)), 7009);
  EXPECT_FALSE(peer.ended);

  peer.sendBytes(Bytes{std::byte{0}, std::byte{0x10}, std::byte{0x10}, std::byte{0x01}, std::byte{0x10},
                       std::byte{1}, std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0},
                       std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}});
  world.strand.run();
  EXPECT_TRUE(peer.ended) << "a frame of 1 MiB, 4 KiB and a byte";
  EXPECT_NE(peer.last(FrameType::bye), nullptr);
}

TEST_F(LimitsTest, OfRepliesThatAPeerSends) {
  RawPeer peer(world.strand, world.watch);
  for (const std::size_t more : {0U, 1U}) {
    world.watch.send(1);
    world.strand.run();
    peer.send(FrameType::reply, more + 1, PlistDictionary{{"reply", ofSize(kMostMessage + more)}});
    world.strand.run();
  }
  EXPECT_EQ(world.watch.outcomes, (Lines{"reply ?", "7009"}));
}

TEST_F(LimitsTest, OfNesting) {
  world.connectAndRun();
  test::TemporaryFolder folder;
  std::ofstream(folder.path("f")) << "f";
  Session& phone = *world.phone.session;
  int code = 0;
  const auto told = [&](const Session::Transfer& transfer) {
    const Error* error = std::get_if<Error>(&transfer);
    return error == nullptr ? 0 : static_cast<int>(error->code);
  };
  const std::vector<std::function<int(int)>> ways = {
      [&](int most) { return told(phone.transferUserInfo(ofDepth(most))); },
      [&](int most) { return told(phone.updateApplicationContext(ofDepth(most))); },
      [&](int most) { return told(phone.transferFile(folder.path("f"), ofDepth(most - 1))); },
      [&](int most) {
        code = 0;
        phone.sendMessage(ofDepth(most - 1), {},
                          [&](const Error& error) { code = static_cast<int>(error.code); });
        world.strand.run();
        return code;
      },
      [&](int most) {
        world.watch.ear.onMessage = [=](const auto&, const auto& reply) { reply(ofDepth(most - 1)); };
        code = 0;
        phone.sendMessage({}, {}, [&](const Error& error) { code = static_cast<int>(error.code); });
        world.strand.run();
        return code;
      }};
  for (std::size_t way = 0; way < ways.size(); ++way) {
    EXPECT_EQ(ways[way](64), 0) << way;
    EXPECT_EQ(ways[way](65), 7010) << way;
    EXPECT_EQ(ways[way](100'000), 7010) << way;
  }
}

TEST_F(LimitsTest, OfWhatASenderQueues) {
  Session& phone = *world.phone.session;
  EXPECT_TRUE(std::holds_alternative<std::uint64_t>(phone.updateApplicationContext(ofSize(kMostContext))));
  const auto large = phone.updateApplicationContext(ofSize(kMostContext + 1));
  ASSERT_TRUE(std::holds_alternative<Error>(large));
  EXPECT_EQ(std::get<Error>(large).code, ErrorCode::payloadTooLarge);
  EXPECT_EQ(std::get<Error>(large).description, "The payload is too large");

  const PlistDictionary info = ofSize(kMostUserInfo);
  for (std::size_t i = 0; i < kMostQueuedBytes / kMostUserInfo; ++i) {
    ASSERT_TRUE(std::holds_alternative<std::uint64_t>(phone.transferUserInfo(info))) << i;
  }
  const auto full = phone.transferUserInfo(info);
  ASSERT_TRUE(std::holds_alternative<Error>(full));
  EXPECT_EQ(std::get<Error>(full).code, ErrorCode::insufficientSpace);
}

}  // namespace
}  // namespace tunevale::link
