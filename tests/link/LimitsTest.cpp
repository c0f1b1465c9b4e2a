// The limits on what is not trusted, each at its edge: the largest is taken, a byte more is refused and said
// so. Frames, sockets before authentication and the rate have tests beside what they belong to.
#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
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

int told(const Session::Transfer& transfer) {
  const Error* error = std::get_if<Error>(&transfer);
  return error == nullptr ? 0 : static_cast<int>(error->code);
}

struct LimitsTest : testing::Test, LinkWorld {
  LimitsTest() {
    watch.ear.onMessage = [](const auto&, const auto& reply) { reply({}); };
    phone.ear.onData = [](ByteView, const auto& reply) { reply({}); };
    std::ofstream(path) << "f";
  }
  test::TemporaryFolder folder;
  const std::string path = folder.path("file");
};

TEST_F(LimitsTest, OfWhatAReceiverTakes) {
  RawPeer peer(strand, watch);
  const auto heard = [&] { return watch.ear.heard.size(); };
  const std::size_t before = heard();

  peer.send(FrameType::message, 1, PlistDictionary{{"message", ofSize(kMostMessage)}, {"ttl", 9}});
  peer.send(FrameType::message, 2, PlistDictionary{{"data", Bytes(kMostMessageData)}, {"ttl", 9}});
  strand.run();
  EXPECT_EQ(heard(), before + 2);
  EXPECT_EQ(peer.last(FrameType::reply).id, 1U);
  const std::pair<Bytes, const char*> wrong[] = {
      {writePropertyList(PlistDictionary{{"message", ofSize(kMostMessage + 1)}}), "3 7009"},
      {writePropertyList(PlistDictionary{{"data", Bytes(kMostMessageData + 1)}}), "3 7009"},
      {writePropertyList(PlistDictionary{{"message", "a text"}}), "3 7010"},
      {Bytes(7), "3 7010"}};
  for (const auto& [body, refusal] : wrong) {
    peer.frames.clear();
    peer.send(FrameType::reply, 77, PlistDictionary{{"reply", PlistDictionary{}}});  // to nothing
    peer.send(FrameType::messageError, 78, PlistDictionary{});
    peer.send(FrameType::message, 3, body);
    strand.run();
    EXPECT_EQ(peer.refusal(FrameType::messageError), refusal);
  }
  EXPECT_EQ(heard(), before + 2);

  peer.send(FrameType::item, 1, ofSize(kMostUserInfo));
  peer.send(FrameType::item, 2, ofSize(kMostUserInfo + 1));
  peer.send(FrameType::context, 1, ofSize(kMostContext));
  peer.send(FrameType::context, 2, ofSize(kMostContext + 1));
  strand.run();
  EXPECT_EQ(heard(), before + 4);
  EXPECT_EQ(peer.refusal(FrameType::nak), "2 7009");
  EXPECT_EQ(peer.last(FrameType::ack).id, 2U) << "it blocks nothing";
  EXPECT_EQ(peer.last(FrameType::contextAck).id, 2U);

  for (const std::size_t more : {0U, 1U}) {
    watch.send(1);
    strand.run();
    peer.send(FrameType::reply, more + 1, PlistDictionary{{"reply", ofSize(kMostMessage + more)}});
    strand.run();
  }
  EXPECT_EQ(watch.outcomes, (Lines{"reply ?", "7009"}));

  std::uint64_t number = 2;
  for (std::size_t refusals = 2; refusals <= kMostRefusals + 1; ++refusals) {
    EXPECT_FALSE(peer.ended) << "of which the peer may not know yet: " << refusals;
    peer.send(FrameType::item, ++number, asBytes("no list"));
    strand.run();
    strand.advance(10ms);
  }
  EXPECT_EQ(peer.goodbye(), "ITEM 258: it cannot be kept");
}

TEST_F(LimitsTest, OfWhatASenderSendsAndQueues) {
  connectAndRun();
  int code = 0;
  const auto failed = [&](const Error& error) { code = static_cast<int>(error.code); };
  const auto ask = [&](const PlistDictionary& message) {
    code = 0;
    phone.session->sendMessage(message, {}, failed);
    strand.run();
    return code;
  };
  struct Way {
    std::size_t most;
    int containers;  // around it
    std::function<int(const PlistDictionary&)> send;
  };
  const Way ways[] = {
      {kMostUserInfo, 0, [&](const auto& body) { return told(phone.session->transferUserInfo(body)); }},
      {kMostContext, 0,
       [&](const auto& body) { return told(phone.session->updateApplicationContext(body)); }},
      {kMostMetadata, 1, [&](const auto& body) { return told(phone.session->transferFile(path, body)); }},
      {kMostMessage, 1, ask},
      {kMostMessage, 1, [&](const PlistDictionary& body) {
         watch.ear.onMessage = [=](const auto&, const auto& reply) { reply(body); };
         return ask({});
       }}};
  for (const auto& [most, containers, send] : ways) {
    EXPECT_EQ(send(ofSize(most)), 0) << most;
    EXPECT_EQ(send(ofSize(most + 1)), 7009) << most;
    for (const int depth : {64, 65, 100'000})
      EXPECT_EQ(send(ofDepth(depth - containers)), depth == 64 ? 0 : 7010) << most << " " << depth;
  }
  watch.ear.onMessage = [](const auto&, const auto& reply) { reply({}); };
  const std::size_t before = watch.ear.heard.size(), times = kMostUndeliveredBytes / kMostMessage + 1;
  for (std::size_t i = 0; i < times; ++i) ask(ofSize(kMostMessage));
  EXPECT_EQ(watch.ear.heard.size(), before + times) << "each gives its room back";
  for (const std::size_t more : {0U, 1U}) {
    code = 0;
    watch.session->sendMessageData(Bytes(kMostMessageData + more), {}, failed);
    strand.run();
    EXPECT_EQ(code, more == 0 ? 0 : 7009);
  }
  EXPECT_TRUE(phone.session->state().connected);
  for (const Queue queue : {Queue::items, Queue::files}) {
    while (watch.store.append(queue, Bytes(1))) {
    }
  }
  EXPECT_EQ(told(watch.session->transferUserInfo({})), 7015);
  for (const auto& [file, refusal] :
       {std::pair(path.c_str(), 7015), {"", 7008}, {"/nonexistent", 7013}, {"/dev/zero", 7013}})
    EXPECT_EQ(told(watch.session->transferFile(file, {})), refusal) << file;
  EXPECT_TRUE(std::filesystem::is_empty(watch.spool.path()));
}

/// A list of songs, different or one over and over, as it came in and as the watch sends it back.
PlistArray songsOf(bool same, int songs, const PlistDictionary& more = {}) {
  PlistArray list;
  for (int n = 0; n < songs; ++n) {
    PlistDictionary song = more;
    song.set("title", same ? "the same" : std::to_string(n));
    list.append(std::move(song));
  }
  return list;
}

TEST_F(LimitsTest, LetBackWhatTheyLetIn) {
  connectAndRun();
  for (const bool same : {true, false}) {
    const auto size = [&](int songs) {
      const PlistDictionary chart{{"weekly_top_15", PlistDictionary{{"list", songsOf(same, songs)}}}};
      return archivedDataWithRootObject(chart).size();
    };
    const std::size_t each = (size(4000) - size(2000)) / 2000 + 1;
    int songs = std::min(200'000, static_cast<int>(kMostMessageData / each));
    while (size(songs) > kMostMessageData) songs -= songs / 50;  // as many as just come in
    const PlistArray back = songsOf(same, songs, {{"source_view", "apple_watch"}});
    Lines outcomes;
    watch.session->sendMessage(
        {{"request", "playWeeklyTop15"}, {"data", back}, {"currentPosition", "14"}},
        [&](const PlistDictionary&) { outcomes.push_back("taken"); },
        [&](const Error& error) { outcomes.push_back(error.description); });
    strand.run();
    EXPECT_EQ(outcomes, Lines{"taken"}) << songs;
  }
}

}  // namespace
}  // namespace tunevale::link
