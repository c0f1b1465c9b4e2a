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
  for (const auto& body : {PlistDictionary{{"message", ofSize(kMostMessage + 1)}},
                           PlistDictionary{{"data", Bytes(kMostMessageData + 1)}}}) {
    peer.frames.clear();
    peer.send(FrameType::message, 3, body);
    strand.run();
    EXPECT_EQ(peer.refusal(FrameType::messageError), "3 7009");
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

TEST_F(LimitsTest, OfNesting) {
  connectAndRun();
  int code = 0;
  const auto ask = [&](const PlistDictionary& message) {
    code = 0;
    phone.session->sendMessage(message, {}, [&](const Error& error) { code = static_cast<int>(error.code); });
    strand.run();
    return code;
  };
  const std::function<int(int)> ways[] = {
      [&](int most) { return told(phone.session->transferUserInfo(ofDepth(most))); },
      [&](int most) { return told(phone.session->updateApplicationContext(ofDepth(most))); },
      [&](int most) { return told(phone.session->transferFile(path, ofDepth(most - 1))); },
      [&](int most) { return ask(ofDepth(most - 1)); },
      [&](int most) {
        watch.ear.onMessage = [=](const auto&, const auto& reply) { reply(ofDepth(most - 1)); };
        return ask({});
      }};
  for (const auto& way : ways) {
    for (const int depth : {64, 65, 100'000})
      EXPECT_EQ(way(depth), depth == 64 ? 0 : 7010) << &way - ways << " " << depth;
  }
}

TEST_F(LimitsTest, OfWhatASenderSendsAndQueues) {
  connectAndRun();
  watch.ear.onMessage = [&](const auto&, const auto& reply) { reply(ofSize(kMostMessage + 1)); };
  phone.send(1);
  strand.run();
  EXPECT_EQ(phone.outcomes, Lines{"7009"}) << "a reply that is too large fails its message";
  watch.ear.onMessage = [](const auto&, const auto& reply) { reply({}); };
  for (const std::size_t more : {0U, 1U}) {
    std::vector<int> errors;
    const auto failed = [&](const Error& error) { errors.push_back(static_cast<int>(error.code)); };
    phone.session->sendMessage(ofSize(kMostMessage + more), {}, failed);
    watch.session->sendMessageData(Bytes(kMostMessageData + more), {}, failed);
    strand.run();
    for (const auto& queued : {phone.session->updateApplicationContext(ofSize(kMostContext + more)),
                               phone.session->transferUserInfo(ofSize(kMostUserInfo + more)),
                               phone.session->transferFile(path, ofSize(kMostMetadata + more))}) {
      if (const int code = told(queued)) errors.push_back(code);
    }
    EXPECT_EQ(errors, std::vector<int>(more == 0 ? 0 : 5, 7009));
  }
  EXPECT_TRUE(phone.session->state().connected);
  for (const Queue queue : {Queue::items, Queue::files}) {
    while (watch.store.append(queue, Bytes(1))) {
    }
  }
  EXPECT_EQ(told(watch.session->transferUserInfo({})), 7015);
  EXPECT_EQ(told(watch.session->transferFile(path, {})), 7015);
  EXPECT_EQ(told(watch.session->transferFile("", {})), 7008);
  EXPECT_EQ(told(watch.session->transferFile("/nonexistent", {})), 7013);
  EXPECT_EQ(told(watch.session->transferFile("/dev/zero", {})), 7013);
  EXPECT_TRUE(std::filesystem::is_empty(watch.spool.path()));
}

/// So many different songs, or one over and over.
PlistDictionary chart(bool same, int songs) {
  PlistArray list;
  for (int n = 0; n < songs; ++n)
    list.append(same ? PlistDictionary{{"title", "the same"}, {"id", "1"}}
                     : PlistDictionary{{"title", std::to_string(n)}});
  return {{"weekly_top_15", PlistDictionary{{"list", list}}}};
}

TEST_F(LimitsTest, LetBackWhatTheyLetIn) {
  connectAndRun();
  phone.ear.onMessage = [](const auto&, const auto& reply) { reply({{"n", 1}}); };
  for (const bool archived : {true, false}) {
    for (const bool same : {true, false}) {
      const std::size_t most = archived ? kMostMessageData : kMostUserInfo;
      const auto size = [&](int songs) {
        const PlistDictionary one = chart(same, songs);
        return (archived ? archivedDataWithRootObject(one) : writePropertyList(one)).size();
      };
      // As many as just come in.
      const std::size_t each = (size(4000) - size(2000)) / 2000 + 1;
      int songs = std::min(200'000, static_cast<int>(most / each));
      while (size(songs) > most) songs -= songs / 50;
      SCOPED_TRACE(std::to_string(songs) + " songs");
      const PlistDictionary one = chart(same, songs);
      PlistArray back;
      for (const PlistValue& song : *one.find("weekly_top_15")->dictionary()->find("list")->array()) {
        PlistDictionary marked = *song.dictionary();
        marked.set("source_view", "apple_watch");
        back.append(marked);
      }
      Lines outcomes;
      watch.session->sendMessage(
          {{"request", "playWeeklyTop15"}, {"data", back}, {"currentPosition", "14"}},
          [&](const PlistDictionary&) { outcomes.push_back("taken"); },
          [&](const Error& error) { outcomes.push_back(error.description); });
      strand.run();
      EXPECT_EQ(outcomes, Lines{"taken"});
    }
  }
}

}  // namespace
}  // namespace tunevale::link
