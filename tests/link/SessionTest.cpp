#include <gtest/gtest.h>

#include "link/LinkWorld.h"
#include "link/RawPeer.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

struct SessionTest : testing::Test {
  LinkWorld world;
};

TEST_F(SessionTest, IsSilentButForAPingAndFindsADeadPeer) {
  Wire& wire = world.connectAndRun();
  world.strand.advance(1s);
  const std::size_t before = wire.bytesCarried();
  world.strand.advance(60s);
  EXPECT_TRUE(world.watch.session->state().reachable);
  EXPECT_LE(wire.bytesCarried() - before, 13 * 2 * 2 * kFrameHeaderSize)
      << "a ping and a pong each five seconds";
  wire.swallow(true);
  world.strand.advance(16s);
  EXPECT_FALSE(world.watch.session->state().connected);
  EXPECT_FALSE(world.phone.session->state().connected);
}

TEST_F(SessionTest, TheNewestConnectionWins) {
  world.connectAndRun();
  world.watch.send(1);
  world.connectAndRun();
  world.watch.send(2);
  world.strand.run();
  EXPECT_EQ(world.watch.outcomes.back(), "reply 2");
  EXPECT_TRUE(world.watch.session->state().reachable);
  world.wires.front()->cut();
  world.strand.run();
  EXPECT_TRUE(world.watch.session->state().reachable) << "the old one's end means nothing";
}

TEST_F(SessionTest, StrangersDoNotKeepThePhoneOut) {
  std::vector<std::unique_ptr<RawPeer>> strangers;
  for (int i = 0; i < 50; ++i)
    strangers.push_back(std::make_unique<RawPeer>(world.strand, world.watch, false));
  world.strand.run();
  EXPECT_EQ(std::count_if(strangers.begin(), strangers.end(), [](const auto& one) { return one->ended; }),
            40);
  world.connectAndRun();
  EXPECT_TRUE(world.watch.session->state().reachable);
  world.strand.advance(2s);
  EXPECT_EQ(std::count_if(strangers.begin(), strangers.end(), [](const auto& one) { return one->ended; }),
            50);
}

TEST_F(SessionTest, RefusesWrongIntroductions) {
  const PlistDictionary good = RawPeer::introduction("phone");
  std::vector<PlistDictionary> wrong(4, good);
  wrong[0].set("version", 2);
  wrong[1].set("role", "watch");
  wrong[2].remove("epoch");
  wrong[3].set("run", "short");
  for (const PlistDictionary& introduction : wrong) {
    RawPeer peer(world.strand, world.watch, false);
    peer.send(FrameType::hello, 0, introduction);
    world.strand.run();
    EXPECT_TRUE(peer.ended);
    EXPECT_EQ(peer.types(), std::vector{FrameType::bye});
    EXPECT_FALSE(world.watch.session->state().connected);
  }
  RawPeer peer(world.strand, world.watch, false);
  peer.send(FrameType::message, 1, PlistDictionary{{"message", PlistDictionary{{"n", 1}}}});
  world.strand.run();
  EXPECT_TRUE(peer.ended) << "nothing goes before the introduction";
  EXPECT_EQ(world.watch.ear.heard, Lines{"activated"});
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

TEST_F(SessionTest, SkipsUnknownFramesUnlessTheyAreCritical) {
  RawPeer peer(world.strand, world.watch);
  peer.send(static_cast<FrameType>(0x7F), ~std::uint64_t{0}, Bytes(3), 0);
  world.strand.run();
  EXPECT_FALSE(peer.ended);
  peer.send(static_cast<FrameType>(0x7F), 1, Bytes(3), kCriticalFrame);
  world.strand.run();
  EXPECT_TRUE(peer.ended);
}

TEST(RandomBytes, AreNotTakenForFrames) {
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    ManualStrand strand(seed);
    End watch(strand, Role::watch);
    watch.session->activate();
    Wire wire(strand);
    Deaf deaf;
    const auto peer = wire.takeFirst();
    peer->start(deaf);
    watch.session->adopt(wire.takeSecond(), false);
    Bytes noise(64 + seed * 8);
    for (std::byte& byte : noise) byte = static_cast<std::byte>(strand.random() % (seed % 2 == 0 ? 256 : 4));
    peer->write(noise);
    strand.advance(3s);
    EXPECT_EQ(watch.ear.heard, Lines{"activated"});
    EXPECT_FALSE(watch.session->state().connected);
  }
}

TEST_F(SessionTest, AnswersWhatItCannotReadAndGoesOn) {
  RawPeer peer(world.strand, world.watch);
  world.watch.ear.onMessage = [](const PlistDictionary& message, const auto& reply) { reply(message); };
  peer.send(FrameType::message, 7, asBytes("no list"));
  peer.send(FrameType::message, 8, PlistDictionary{{"message", "a text"}});
  peer.send(FrameType::message, 9, PlistDictionary{{"message", PlistDictionary{{"n", 9}}}});
  peer.send(FrameType::reply, 77, PlistDictionary{{"reply", PlistDictionary{}}});
  peer.send(FrameType::messageError, 78, PlistDictionary{});
  world.strand.run();
  EXPECT_FALSE(peer.ended);
  std::vector<std::pair<FrameType, std::uint64_t>> answers;
  for (const auto& frame : peer.frames) {
    if (frame.id != 0) answers.emplace_back(frame.type, frame.id);
  }
  EXPECT_EQ(answers, (decltype(answers){
                         {FrameType::messageError, 7}, {FrameType::messageError, 8}, {FrameType::reply, 9}}));
}

TEST_F(SessionTest, StopsReadingWhileHandlersAreBehindAndTellsThatItLives) {
  world.connectAndRun();
  world.watch.holding = true;
  for (int n = 0; n < 200; ++n) world.phone.send(n);
  world.strand.advance(60s);
  EXPECT_EQ(world.watch.held.size(), kMostUndelivered);
  EXPECT_TRUE(world.phone.session->state().connected) << "a busy end is not a dead one";
  EXPECT_TRUE(world.watch.session->state().connected);
  world.watch.release();
  world.strand.advance(1s);
  world.phone.send(200);
  world.strand.advance(1s);
  EXPECT_EQ(world.watch.ear.heard, (Lines{"activated", "message 200"})) << "what waited so long is void";
  world.watch.holding = true;
  for (int n = 0; n < 200; ++n) world.phone.send(n);
  world.strand.advance(1s);
  world.wires.back()->swallow(true);
  world.strand.advance(20s);
  EXPECT_FALSE(world.watch.session->state().connected) << "a dead one is found by a busy end";
}

TEST_F(SessionTest, HearsBehindWhatItHasNoRoomForThatItIsUnpaired) {
  world.connectAndRun();
  world.watch.holding = true;
  for (int n = 0; n < 80; ++n) world.phone.send(n);
  world.strand.run();
  EXPECT_EQ(world.watch.held.size(), kMostUndelivered);
  world.phone.session->unpair();
  world.strand.run();
  EXPECT_FALSE(world.watch.session->state().connected);
  EXPECT_EQ(world.watch.held.size(), kMostUndelivered + 1)
      << "a peer that comes again and again gets no further";
  world.watch.release();
  world.strand.run();
  EXPECT_EQ(world.watch.ear.heard.back(), "unpaired");
}

TEST_F(SessionTest, BoundsWhatWaitsForAPeerThatDoesNotRead) {
  world.watch.ear.onMessage = [](const auto&, const auto& reply) { reply({{"b", Bytes(200'000)}}); };
  RawPeer peer(world.strand, world.watch);
  peer.setReading(false);
  for (std::uint64_t id = 1; id <= 200; ++id) {
    peer.send(FrameType::message, id,
              PlistDictionary{{"message", PlistDictionary{{"n", 1}, {"b", Bytes(2000)}}}});
  }
  world.strand.advance(20s);
  EXPECT_LE(world.watch.ear.heard.size(), kMostUndelivered + 22) << "4 MiB of replies stop it";
  EXPECT_FALSE(world.watch.session->state().connected) << "each could wait for the other for ever";
  RawPeer pinging(world.strand, world.watch);
  pinging.setReading(false);
  for (int i = 0; i < 6000; ++i) pinging.send(FrameType::ping, 0, Bytes{});
  world.strand.advance(60s);
  EXPECT_FALSE(world.watch.session->state().connected);
}

TEST_F(SessionTest, SlowsToTheSustainedRate) {
  world.connectAndRun();
  const Time start = world.strand.now();
  for (int n = 0; n < 1000; ++n) world.phone.send(n);
  world.strand.run();
  const std::size_t burst = world.watch.ear.heard.size();
  EXPECT_GE(burst, 390U);
  EXPECT_LE(burst, 401U);
  while (world.watch.ear.heard.size() < 1001 && world.strand.now() - start < 10s) world.strand.advance(50ms);
  const double seconds = std::chrono::duration<double>(world.strand.now() - start).count();
  EXPECT_NEAR(seconds, 3.0, 0.3) << "600 frames past the burst";
}

}  // namespace
}  // namespace tunevale::link
