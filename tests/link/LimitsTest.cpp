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

struct LimitsTest : testing::Test {
  LimitsTest() {
    world.watch.ear.onMessage = [](const auto&, const auto& reply) { reply({}); };
    world.phone.ear.onData = [](ByteView, const auto& reply) { reply({}); };
  }
  LinkWorld world;
  test::TemporaryFolder folder;
};

TEST_F(LimitsTest, OfWhatAReceiverTakes) {
  RawPeer peer(world.strand, world.watch);
  const auto heard = [&] { return world.watch.ear.heard.size(); };
  const std::size_t before = heard();

  peer.send(FrameType::message, 1, PlistDictionary{{"message", ofSize(kMostMessage)}, {"ttl", 9}});
  peer.send(FrameType::message, 2, PlistDictionary{{"data", Bytes(kMostMessageData)}, {"ttl", 9}});
  world.strand.run();
  EXPECT_EQ(heard(), before + 2);
  EXPECT_EQ(peer.last(FrameType::reply).id, 1U);
  for (const auto& body : {PlistDictionary{{"message", ofSize(kMostMessage + 1)}},
                           PlistDictionary{{"data", Bytes(kMostMessageData + 1)}}}) {
    peer.frames.clear();
    peer.send(FrameType::message, 3, body);
    world.strand.run();
    EXPECT_EQ(peer.refusal(FrameType::messageError), "3 7009");
  }
  EXPECT_EQ(heard(), before + 2);

  peer.send(FrameType::item, 1, ofSize(kMostUserInfo));
  peer.send(FrameType::item, 2, ofSize(kMostUserInfo + 1));
  peer.send(FrameType::context, 1, ofSize(kMostContext));
  peer.send(FrameType::context, 2, ofSize(kMostContext + 1));
  world.strand.run();
  EXPECT_EQ(heard(), before + 4);
  EXPECT_EQ(peer.refusal(FrameType::nak), "2 7009");
  EXPECT_EQ(peer.last(FrameType::ack).id, 2U) << "it blocks nothing";
  EXPECT_EQ(peer.last(FrameType::contextAck).id, 2U);

  for (const std::size_t more : {0U, 1U}) {
    world.watch.send(1);
    world.strand.run();
    peer.send(FrameType::reply, more + 1, PlistDictionary{{"reply", ofSize(kMostMessage + more)}});
    world.strand.run();
  }
  EXPECT_EQ(world.watch.outcomes, (Lines{"reply ?", "7009"}));

  std::uint64_t number = 2;
  for (std::size_t refusals = 2; refusals <= kMostRefusals + 1; ++refusals) {
    EXPECT_FALSE(peer.ended) << "of which the peer may not know yet: " << refusals;
    peer.send(FrameType::item, ++number, asBytes("no list"));
    world.strand.run();
    world.strand.advance(10ms);
  }
  EXPECT_EQ(peer.goodbye(), "ITEM 258: it cannot be kept");
}

TEST_F(LimitsTest, OfNesting) {
  world.connectAndRun();
  std::ofstream(folder.path("f")) << "f";
  Session& phone = *world.phone.session;
  int code = 0;
  const auto ask = [&](const PlistDictionary& message) {
    code = 0;
    phone.sendMessage(message, {}, [&](const Error& error) { code = static_cast<int>(error.code); });
    world.strand.run();
    return code;
  };
  const std::vector<std::function<int(int)>> ways = {
      [&](int most) { return told(phone.transferUserInfo(ofDepth(most))); },
      [&](int most) { return told(phone.updateApplicationContext(ofDepth(most))); },
      [&](int most) { return told(phone.transferFile(folder.path("f"), ofDepth(most - 1))); },
      [&](int most) { return ask(ofDepth(most - 1)); },
      [&](int most) {
        world.watch.ear.onMessage = [=](const auto&, const auto& reply) { reply(ofDepth(most - 1)); };
        return ask({});
      }};
  for (std::size_t way = 0; way < ways.size(); ++way) {
    EXPECT_EQ(ways[way](64), 0) << way;
    EXPECT_EQ(ways[way](65), 7010) << way;
    EXPECT_EQ(ways[way](100'000), 7010) << way;
  }
}

TEST_F(LimitsTest, OfWhatASenderSendsAndQueues) {
  End fresh(world.strand, Role::phone);
  EXPECT_EQ(told(fresh.session->transferUserInfo({})), 7004);
  world.connectAndRun();
  Session& phone = *world.phone.session;
  Session& watch = *world.watch.session;
  std::vector<int> errors;
  const auto failed = [&](const Error& error) { errors.push_back(static_cast<int>(error.code)); };
  for (const std::size_t more : {0U, 1U}) {
    phone.sendMessage(ofSize(kMostMessage + more), {}, failed);
    watch.sendMessageData(Bytes(kMostMessageData + more), {}, failed);
    world.strand.run();
  }
  world.watch.ear.onMessage = [&](const auto&, const auto& reply) { reply(ofSize(kMostMessage + 1)); };
  world.phone.send(1);
  world.strand.run();
  EXPECT_EQ(errors, (std::vector<int>{7009, 7009}));
  EXPECT_EQ(world.phone.outcomes, Lines{"7009"}) << "a reply that is too large fails its message";
  EXPECT_TRUE(phone.state().connected);

  world.wires.back()->cut();
  world.strand.run();
  EXPECT_EQ(told(phone.updateApplicationContext(ofSize(kMostContext))), 0);
  EXPECT_EQ(told(phone.updateApplicationContext(ofSize(kMostContext + 1))), 7009);
  EXPECT_EQ(told(phone.transferUserInfo(ofSize(kMostUserInfo + 1))), 7009);
  const PlistDictionary info = ofSize(kMostUserInfo);
  for (std::size_t i = 0; i < kMostQueuedBytes / kMostUserInfo; ++i) {
    ASSERT_EQ(told(phone.transferUserInfo(info)), 0) << i;
  }
  EXPECT_EQ(told(phone.transferUserInfo({})), 7015) << "32 MiB of them";
  for (std::size_t i = 0; i < kMostQueuedRows; ++i) ASSERT_EQ(told(watch.transferUserInfo({})), 0) << i;
  EXPECT_EQ(told(watch.transferUserInfo({})), 7015) << "10,000 of them";
}

TEST_F(LimitsTest, OfTheFilesThatWait) {
  Session& phone = *world.phone.session;
  const std::string path = folder.path("file");
  std::ofstream(path) << "";
  EXPECT_EQ(told(phone.transferFile("", {})), 7008);
  EXPECT_EQ(told(phone.transferFile("/nonexistent", {})), 7013);
  EXPECT_EQ(told(phone.transferFile("/dev/zero", {})), 7013);
  std::filesystem::resize_file(path, kMostFile + 1);
  EXPECT_EQ(told(phone.transferFile(path, {})), 7009);
  std::filesystem::resize_file(path, kMostFile);
  EXPECT_EQ(told(phone.transferFile(path, ofSize(kMostMetadata + 1))), 7009);
  EXPECT_TRUE(std::filesystem::is_empty(world.phone.spool.path()));

  constexpr std::size_t kFiles = kMostQueuedFileBytes / kMostFile;
  std::uint64_t last = 0;
  for (std::size_t i = 0; i < kFiles; ++i) {
    const auto queued = phone.transferFile(path, ofSize(kMostMetadata));
    ASSERT_EQ(told(queued), 0) << i;
    last = std::get<std::uint64_t>(queued);
  }
  std::ofstream(folder.path("small")) << "s";
  EXPECT_EQ(told(phone.transferFile(folder.path("small"), {})), 7015);
  phone.cancelFile(last);
  world.strand.run();
  while (world.phone.store.append(Queue::files, Bytes(1))) {
  }
  EXPECT_EQ(told(phone.transferFile(path, {})), 7015) << "no row is left";
  world.phone.store.remove(Queue::files, last + 1, false);
  EXPECT_EQ(told(phone.transferFile(path, {})), 0) << "what went, and what never was queued, is not counted";
}

/// Songs with one member, with all that a phone sends, and one song over and over.
PlistDictionary songOf(int shape, int n) {
  const std::string number = std::to_string(n);
  if (shape == 0) return {{"title", number}};
  if (shape == 2) return {{"title", "the same"}, {"id", "1"}};
  const PlistDictionary artist{{"id", "a" + number}, {"name", "Artist " + number}, {"role", "singer"}};
  return {{"id", "song" + number},
          {"title", "Gr\u00fc\u00dfe " + number},
          {"type", "song"},
          {"more_info", PlistDictionary{{"album", "Album " + number},
                                        {"duration", number},
                                        {"artistMap", PlistDictionary{{"artists", PlistArray{artist}}}}}}};
}

TEST_F(LimitsTest, LetBackWhatTheyLetIn) {
  world.connectAndRun();
  world.phone.ear.onMessage = [](const auto&, const auto& reply) { reply({{"n", 1}}); };
  const auto chart = [](int shape, int songs) {
    PlistArray list;
    for (int n = 0; n < songs; ++n) list.append(songOf(shape, n));
    return PlistDictionary{{"weekly_top_15", PlistDictionary{{"list", list}}}};
  };
  const auto asArchive = [](const PlistDictionary& one) { return archivedDataWithRootObject(one); };
  const auto asList = [](const PlistDictionary& one) { return writePropertyList(one); };
  for (const bool archived : {true, false}) {
    for (const int shape : {0, 1, 2}) {
      const std::size_t most = archived ? kMostMessageData : kMostUserInfo;
      const auto size = [&](int songs) {
        return (archived ? asArchive(chart(shape, songs)) : asList(chart(shape, songs))).size();
      };
      // As many as just come in.
      const std::size_t each = (size(4000) - size(2000)) / 2000 + 1;
      int songs = std::min(200'000, static_cast<int>(most / each));
      while (size(songs) > most) songs -= songs / 50;
      const PlistDictionary one = chart(shape, songs);
      const Bytes body = archived ? asArchive(one) : asList(one);
      SCOPED_TRACE(std::to_string(shape) + ": " + std::to_string(songs) + " songs in " +
                   std::to_string(body.size()));
      ASSERT_LE(body.size(), most);
      const auto came = archived ? unarchiveObjectWithData(body) : readPropertyList(body);
      ASSERT_TRUE(came == PlistValue(one));
      PlistArray back;
      for (const PlistValue& song : *one.find("weekly_top_15")->dictionary()->find("list")->array()) {
        PlistDictionary marked = *song.dictionary();
        marked.set("source_view", "apple_watch");
        back.append(marked);
      }
      world.watch.outcomes.clear();
      world.watch.session->sendMessage(
          {{"request", "playWeeklyTop15"}, {"data", back}, {"currentPosition", "14"}},
          [&](const PlistDictionary&) { world.watch.outcomes.push_back("taken"); },
          [&](const Error& error) { world.watch.outcomes.push_back(error.description); });
      world.strand.run();
      EXPECT_EQ(world.watch.outcomes, Lines{"taken"});
    }
  }
}

}  // namespace
}  // namespace tunevale::link
