#include <thread>

#include <gtest/gtest.h>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/LinkWorld.h"
#include "link/Mailbox.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

struct SessionTest : testing::Test, LinkWorld {};

TEST_F(SessionTest, IsSilentButForAPingAndTheNewestConnectionWins) {
  connectAndRun();
  Wire& wire = connectAndRun();
  watch.send(2);
  strand.run();
  EXPECT_EQ(watch.outcomes, Lines{"reply 2"});
  wires.front()->cut();
  strand.advance(1s);
  const std::size_t before = wire.bytesCarried();
  strand.advance(60s);
  EXPECT_TRUE(watch.session->state().reachable) << "the old one's end means nothing";
  EXPECT_LE(wire.bytesCarried() - before, 13 * 2 * 2 * kFrameHeaderSize)
      << "a ping and a pong each five seconds";
}

TEST_F(SessionTest, StrangersDoNotKeepThePhoneOut) {
  std::vector<std::unique_ptr<RawPeer>> strangers;
  const auto ended = [&] {
    return std::count_if(strangers.begin(), strangers.end(), [](const auto& one) { return one->ended; });
  };
  for (int i = 0; i < 50; ++i) strangers.push_back(std::make_unique<RawPeer>(strand, watch, false));
  strand.run();
  EXPECT_EQ(ended(), 40);
  connectAndRun();
  EXPECT_TRUE(watch.session->state().reachable);
  strand.advance(2s);
  EXPECT_EQ(ended(), 50);
}

TEST_F(SessionTest, RefusesWrongIntroductions) {
  const std::pair<const char*, PlistValue> wrong[] = {
      {"version", 2}, {"role", "watch"}, {"epoch", ""}, {"run", "short"}};
  for (const auto& [key, value] : wrong) {
    PlistDictionary introduction = RawPeer::introduction("phone");
    introduction.set(key, value);
    RawPeer peer(strand, watch, false);
    peer.send(FrameType::hello, 0, introduction);
    strand.run();
    EXPECT_TRUE(peer.ended);
    EXPECT_EQ(peer.frames.size(), 1U) << "and that says why";
    EXPECT_FALSE(watch.session->state().connected);
  }
  // Before the introduction a body of 8,192 bytes is too much to be one, and a byte more is too much to read.
  for (const std::size_t size : {8192U, 8193U}) {
    RawPeer peer(strand, watch, false);
    peer.send(FrameType::message, 1, Bytes(size));
    strand.run();
    EXPECT_EQ(peer.goodbye(), size == 8192U ? "no introduction" : "a frame is too large");
  }
  EXPECT_EQ(watch.ear.heard, Lines{"activated"});
}

TEST_F(SessionTest, SaysOfWhichFrameAndWhyItCloses) {
  const auto data = [](const PlistValue& offset, std::size_t bytes) {
    return PlistDictionary{{"offset", offset}, {"data", Bytes(bytes)}};
  };
  const PlistDictionary file{{"size", 100'000}, {"metadata", PlistDictionary{}}, {"sha256", Bytes(32)}};
  const auto unknown = static_cast<FrameType>(0x7F);
  const std::uint64_t high = (std::uint64_t{1} << 62) + 1;
  struct Case {
    std::string why;
    FrameType type;
    std::uint64_t id;
    PlistDictionary body;
  };
  const Case cases[] = {
      {"type 127 1: it is not known, and critical", unknown, 1, {}},
      {"ITEM " + std::to_string(high) + ": it is not known, and critical", FrameType::item, high, {}},
      {"GAP: it lacks an epoch or a number", FrameType::gap, 0, {}},
      {"introduced twice", FrameType::hello, 0, RawPeer::introduction("phone")},
      {"FILE_DATA 9: it was not asked for", FrameType::fileData, 9, data(0, 5)},
      {"FILE_DATA 1: its bytes are not those that are next", FrameType::fileData, 1, data(1, 5)},
      {"FILE_DATA 1: its bytes are not those that are next", FrameType::fileData, 1, data("0", 5)},
      {"FILE_DATA 1: it has more than 65,536 bytes", FrameType::fileData, 1, data(0, 65'537)},
      {"FILE_DATA 1: it has no data", FrameType::fileData, 1, {{"offset", 0}}},
  };
  for (const Case& one : cases) {
    RawPeer peer(strand, watch);
    peer.send(unknown, ~std::uint64_t{0}, Bytes(3), 0);
    peer.send(FrameType::fileBegin, 1, file);
    peer.send(one.type, one.id, one.body);
    strand.run();
    EXPECT_TRUE(peer.ended);
    EXPECT_EQ(peer.goodbye(), one.why);
  }
  RawPeer peer(strand, watch);
  peer.send(FrameType::fileBegin, 1, file);
  peer.send(FrameType::fileData, 1, data(0, 65'536));
  strand.run();
  EXPECT_FALSE(peer.ended) << "as much as may be";
  peer.send(FrameType::fileData, 1, data(65'536, 34'465));
  strand.run();
  EXPECT_EQ(peer.goodbye(), "FILE_DATA 1: it goes past the file's size");
  for (const FrameType type : {FrameType::message, FrameType::gap, FrameType::fileCancel}) {
    RawPeer early(strand, watch, false);
    early.send(FrameType::hello, 0, RawPeer::introduction("phone"));
    early.send(static_cast<FrameType>(0x2F), 0, ByteView(), 0);  // unknown, and skipped
    early.send(type, 0, PlistDictionary{});
    strand.run();
    EXPECT_TRUE(early.goodbye().ends_with("it comes before RESUME") && !early.goodbye().starts_with("type"));
  }
}

TEST_F(SessionTest, SaysItsLastWordBehindWhatIsBeingWrittenAndNothingAfterIt) {
  watch.ear.onMessage = [](const auto&, const auto& reply) { reply({{"b", Bytes(200'000)}}); };
  for (const bool unpairs : {false, true}) {
    RawPeer slow(strand, watch);
    slow.setReading(false);
    slow.send(FrameType::message, 1, PlistDictionary{{"message", PlistDictionary{}}});
    strand.run();
    if (unpairs) {
      watch.session->unpair();
      watch.session->setActive(false);
    } else {
      slow.send(static_cast<FrameType>(0x7F), 1, PlistDictionary{});
    }
    strand.run();
    EXPECT_FALSE(watch.session->state().connected) << "however slow the other end is";
    slow.setReading(true);
    strand.run();
    EXPECT_EQ(slow.last(FrameType::reply).id, 1U);
    EXPECT_EQ(slow.frames.back().type, unpairs ? FrameType::unpair : FrameType::bye);
    EXPECT_EQ(slow.goodbye(), unpairs ? "" : "type 127 1: it is not known, and critical");
  }
}

TEST_F(SessionTest, ALockedPhoneIsNotReachable) {
  for (const bool locked : {true, false}) {
    phone.session->setLocked(!locked);
    connectAndRun();
    phone.session->setLocked(locked);
    strand.advance(1s);
    EXPECT_EQ(watch.ear.states.back(), (LinkState{true, !locked, locked, watch.session->state().peerRun}));
    watch.send(1);
    strand.run();
    EXPECT_EQ(watch.outcomes.back(), locked ? "7007" : "reply 1");
    watch.begin(watch.store);
    EXPECT_EQ(watch.session->state(), (LinkState{false, false, locked, ""})) << "known to the next process";
    watch.session->activate();
    strand.run();
    EXPECT_EQ(watch.ear.states.size(), locked ? 1U : 0U);
  }
  EXPECT_NE(phone.ear.states.front().peerRun, phone.ear.states.back().peerRun);
  // Between two reports the phone is locked again for a moment, which somebody may have read.
  connectAndRun();
  phone.session->setLocked(true);
  strand.advance(1s);
  std::size_t told = 0;
  for (const bool locked : {false, true, false}) {
    phone.session->setLocked(locked);
    strand.run();
    EXPECT_EQ(watch.session->state().needsUnlock, locked);
    if (told == 0) told = watch.ear.states.size();
  }
  strand.advance(1s);
  EXPECT_EQ(watch.ear.states.size(), told + 1);
}

/// A strand that lets somebody else have a word while a block is being posted to it.
struct InterruptedStrand : ManualStrand {
  void post(Block block) override {
    if (auto interruption = std::exchange(meanwhile, {})) std::thread(interruption).join();
    ManualStrand::post(std::move(block));
  }
  Block meanwhile;
};

TEST(PostingToASession, HoldsNobodyUp) {
  InterruptedStrand strand;
  End end(strand, Role::watch);
  strand.meanwhile = [&] { end.session->activate(); };  // would wait for ever for a lock that is held
  end.send(1);
  strand.run();
  EXPECT_EQ(end.ear.heard, Lines{"activated"});
  EXPECT_EQ(end.outcomes, Lines{"7007"});
}

TEST(PostingToASession, EndsBeforeTheStrandDoes) {
  for (int round = 0; round < 100; ++round) {
    auto strand = std::make_unique<LinkLoop>("going");
    const auto mailbox = std::make_shared<Mailbox>(*strand);
    std::atomic<bool> posts = false;
    std::thread poster([&posts, mailbox] {
      for (int i = 0; i < 200; ++i) {
        mailbox->post([](SessionCore&) {});
        posts = true;
      }
    });
    while (!posts) std::this_thread::yield();
    mailbox->close();
    strand.reset();  // what is posted from here on finds none
    poster.join();
  }
}

TEST(Activation, WaitsALittleForTheOtherEndAndNoLonger) {
  for (const bool comes : {true, false}) {
    LinkWorld near(1, {.activation = 1s});
    if (comes) near.connect();
    near.strand.advance(500ms);
    EXPECT_EQ(near.watch.ear.heard, comes ? Lines{"activated"} : Lines{});
    near.watch.send(1);
    near.strand.advance(500ms);
    EXPECT_EQ(near.watch.ear.heard, Lines{"activated"});
    EXPECT_EQ(near.watch.outcomes, Lines{comes ? "reply 1" : "7007"});
  }
}

TEST_F(SessionTest, StopsReadingWhileHandlersAreBehindAndTellsThatItLives) {
  connectAndRun();
  watch.holding = true;
  for (int n = 0; n < 200; ++n) phone.send(n);
  strand.advance(60s);
  EXPECT_EQ(watch.held.size(), kMostUndelivered);
  EXPECT_TRUE(phone.session->state().connected) << "a busy end is not a dead one";
  EXPECT_TRUE(watch.session->state().connected);
  watch.release();
  strand.advance(1s);
  phone.send(200);
  strand.advance(1s);
  EXPECT_EQ(watch.ear.heard, (Lines{"activated", "message 200"})) << "what waited so long is void";
  watch.holding = true;
  for (int n = 0; n < 200; ++n) phone.send(n);
  strand.advance(1s);
  wires.back()->swallow(true);
  strand.advance(20s);
  EXPECT_FALSE(watch.session->state().connected) << "a dead one is found by a busy end";
}

TEST_F(SessionTest, HearsBehindWhatItHasNoRoomForThatItIsUnpaired) {
  connectAndRun();
  watch.holding = true;
  for (int n = 0; n < 80; ++n) phone.send(n);
  strand.run();
  EXPECT_EQ(watch.held.size(), kMostUndelivered);
  phone.session->unpair();
  strand.run();
  EXPECT_FALSE(watch.session->state().connected);
  EXPECT_EQ(watch.held.size(), kMostUndelivered + 1) << "a peer that comes again and again gets no further";
  watch.release();
  strand.run();
  EXPECT_EQ(watch.ear.heard.back(), "unpaired");
}

TEST_F(SessionTest, BoundsWhatWaitsForAPeerThatDoesNotRead) {
  watch.ear.onMessage = [](const auto&, const auto& reply) { reply({{"b", Bytes(200'000)}}); };
  RawPeer peer(strand, watch);
  peer.setReading(false);
  for (std::uint64_t id = 1; id <= 200; ++id) {
    peer.send(FrameType::message, id,
              PlistDictionary{{"message", PlistDictionary{{"n", 1}, {"b", Bytes(2000)}}}});
  }
  strand.advance(20s);
  EXPECT_LE(watch.ear.heard.size(), kMostUndelivered + 22) << "4 MiB of replies stop it";
  EXPECT_FALSE(watch.session->state().connected) << "each could wait for the other for ever";
  connectAndRun();
  phone.send(1);
  strand.run();
  EXPECT_EQ(phone.outcomes, Lines{"reply ?"}) << "the next peer does not pay for it";
  RawPeer pinging(strand, watch);
  pinging.setReading(false);
  for (int i = 0; i < 6000; ++i) pinging.send(FrameType::ping, 0, Bytes{});
  strand.advance(60s);
  EXPECT_FALSE(watch.session->state().connected);
}

TEST_F(SessionTest, SlowsToTheSustainedRate) {
  connectAndRun();
  strand.advance(20s);  // which saves up no more than the burst
  const Time start = strand.now();
  for (int n = 0; n < 1000; ++n) phone.send(n);
  strand.run();
  const std::size_t burst = watch.ear.heard.size();
  EXPECT_GE(burst, 390U);
  EXPECT_LE(burst, 401U);
  while (watch.ear.heard.size() < 1001 && strand.now() - start < 10s) strand.advance(50ms);
  const double seconds = std::chrono::duration<double>(strand.now() - start).count();
  EXPECT_NEAR(seconds, 3.0, 0.3) << "600 frames past the burst";
}

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
