#include <thread>

#include <gtest/gtest.h>

#include "link/LinkLoop.h"
#include "link/LinkWorld.h"
#include "link/Mailbox.h"
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
    EXPECT_EQ(peer.frames.size(), 1U) << "and that says why";
    EXPECT_FALSE(world.watch.session->state().connected);
  }
  // Before the introduction a body of 8,192 bytes is too much to be one, and a byte more is too much to read.
  for (const std::size_t size : {8192U, 8193U}) {
    RawPeer peer(world.strand, world.watch, false);
    peer.send(FrameType::message, 1, Bytes(size));
    world.strand.run();
    EXPECT_EQ(peer.goodbye(), size == 8192U ? "no introduction" : "a frame is too large");
  }
  EXPECT_EQ(world.watch.ear.heard, Lines{"activated"});
}

TEST_F(SessionTest, SaysOfWhichFrameAndWhyItCloses) {
  const auto data = [](int offset, std::size_t bytes) {
    return PlistDictionary{{"offset", offset}, {"data", Bytes(bytes)}};
  };
  const PlistDictionary file{{"size", 100'000}, {"metadata", PlistDictionary{}}, {"sha256", Bytes(32)}};
  const auto unknown = static_cast<FrameType>(0x7F);
  struct Case {
    std::string why;
    FrameType type;
    std::uint64_t id;
    PlistDictionary body;
    bool offers = false;
  };
  const std::uint64_t high = (std::uint64_t{1} << 62) + 1;
  const Case cases[] = {
      {"type 127 1: it is not known, and critical", unknown, 1, {}},
      {"ITEM " + std::to_string(high) + ": it is not known, and critical", FrameType::item, high, {}},
      {"GAP: it lacks an epoch or a number", FrameType::gap, 0, {}},
      {"introduced twice", FrameType::hello, 0, RawPeer::introduction("phone")},
      {"FILE_DATA 9: it was not asked for", FrameType::fileData, 9, data(0, 5)},
      {"FILE_DATA 1: its bytes are not those that are next", FrameType::fileData, 1, data(1, 5), true},
      {"FILE_DATA 1: its bytes are not those that are next",
       FrameType::fileData,
       1,
       {{"offset", "0"}, {"data", Bytes(5)}},
       true},
      {"FILE_DATA 1: it has more than 65,536 bytes", FrameType::fileData, 1, data(0, 65'537), true},
      {"FILE_DATA 1: it has no data", FrameType::fileData, 1, {{"offset", 0}}, true},
  };
  for (const Case& one : cases) {
    RawPeer peer(world.strand, world.watch);
    peer.send(unknown, ~std::uint64_t{0}, Bytes(3), 0);
    if (one.offers) peer.send(FrameType::fileBegin, 1, file);
    peer.send(one.type, one.id, one.body);
    world.strand.run();
    EXPECT_TRUE(peer.ended);
    EXPECT_EQ(peer.goodbye(), one.why);
  }
  {
    RawPeer peer(world.strand, world.watch);
    peer.send(FrameType::fileBegin, 1, file);
    peer.send(FrameType::fileData, 1, data(0, 65'536));
    world.strand.run();
    EXPECT_FALSE(peer.ended) << "as much as may be";
    peer.send(FrameType::fileData, 1, data(65'536, 34'465));
    world.strand.run();
    EXPECT_EQ(peer.goodbye(), "FILE_DATA 1: it goes past the file's size");
  }
  for (const FrameType type : {FrameType::message, FrameType::gap, FrameType::fileCancel}) {
    RawPeer peer(world.strand, world.watch, false);
    peer.send(FrameType::hello, 0, RawPeer::introduction("phone"));
    peer.send(FrameType::state, 0, PlistDictionary{{"active", true}, {"locked", false}});
    peer.send(type, 0, PlistDictionary{});
    world.strand.run();
    EXPECT_TRUE(peer.goodbye().ends_with("it comes before RESUME"));
  }
  for (std::size_t i = 1; i < world.watch.ear.heard.size(); ++i) {
    EXPECT_EQ(world.watch.ear.heard[i], "reset") << "the peer knew nothing, again";
  }
  // Behind an answer that is still being written.
  world.watch.ear.onMessage = [](const auto&, const auto& reply) { reply({{"b", Bytes(200'000)}}); };
  RawPeer slow(world.strand, world.watch);
  slow.setReading(false);
  slow.send(FrameType::message, 1, PlistDictionary{{"message", PlistDictionary{}}});
  world.strand.run();
  slow.send(unknown, 1, PlistDictionary{});
  world.strand.run();
  slow.setReading(true);
  world.strand.run();
  EXPECT_EQ(slow.last(FrameType::reply).id, 1U);
  EXPECT_EQ(slow.goodbye(), cases[0].why);
}

TEST_F(SessionTest, ALockedPhoneIsNotReachable) {
  world.phone.session->setLocked(true);
  world.connectAndRun();
  for (const bool locked : {true, false, true}) {
    world.phone.session->setLocked(locked);
    world.strand.advance(1s);
    EXPECT_EQ(world.watch.ear.states.back().reachable, !locked);
    EXPECT_EQ(world.watch.ear.states.back().needsUnlock, locked);
    EXPECT_TRUE(world.watch.ear.states.back().connected);
    world.watch.send(1);
    world.strand.run();
    EXPECT_EQ(world.watch.outcomes.back(), locked ? "7007" : "reply 1");
  }
  // Between two reports the phone is locked again for a moment, which somebody may have read.
  std::size_t told = 0;
  for (const bool locked : {false, true, false}) {
    world.phone.session->setLocked(locked);
    world.strand.run();
    EXPECT_EQ(world.watch.session->state().needsUnlock, locked);
    if (told == 0) told = world.watch.ear.states.size();
  }
  world.strand.advance(1s);
  EXPECT_EQ(world.watch.ear.states.size(), told + 1);
}

TEST_F(SessionTest, EndsWithItsPairingAndBeginsAnewWithTheNext) {
  for (const bool onWatch : {true, false}) {
    LinkWorld pair(1, {.activation = 1s});
    const auto activate = [&](int key) {
      for (End* end : {&pair.watch, &pair.phone}) {
        const auto former = end->store.setPin(KeyHash{static_cast<std::byte>(key)});
        end->session->pinDidChange(former.value());
        end->session->activate();
      }
      pair.strand.run();
    };
    activate(1);
    pair.connectAndRun();
    pair.phone.session->setLocked(true);
    pair.strand.advance(1s);
    const std::string run = pair.watch.session->state().peerRun;
    End& first = onWatch ? pair.watch : pair.phone;
    EXPECT_FALSE(first.session->unpair());
    EXPECT_FALSE(first.session->isActivated()) << "at once";
    first.session->setActive(false);  // says nothing after UNPAIR
    pair.strand.advance(1s);
    for (End* end : {&pair.watch, &pair.phone}) {
      EXPECT_FALSE(end->session->isActivated());
      EXPECT_EQ(end->session->state(), LinkState{});
      EXPECT_EQ(end->ear.states.back(), LinkState{});
      EXPECT_FALSE(end->store.peerIsLocked());
      end->send(1);
      EXPECT_EQ(std::get<Error>(end->session->transferUserInfo({})).code, ErrorCode::notActivated);
    }
    Wire stray(pair.strand);
    std::string refusal;
    pair.watch.session->adopt(stray.takeSecond(), false,
                              [&](const std::string& why, Duration) { refusal = why; });
    EXPECT_EQ(refusal, "the session is not activated");
    pair.strand.run();
    first.session->setActive(true);
    pair.phone.session->setLocked(false);
    activate(2);
    pair.phone.session->transferUserInfo({{"n", 7}});
    pair.strand.advance(500ms);
    EXPECT_EQ(pair.watch.ear.heard.back(), "unpaired") << "the next phone is waited for like the first";
    pair.connectAndRun();
    EXPECT_EQ(pair.watch.ear.heard, (Lines{"activated", "unpaired", "activated", "info 7"}));
    EXPECT_EQ(pair.watch.session->state(), (LinkState{true, true, false, run}));
    EXPECT_EQ(pair.watch.outcomes, Lines{"7004"});
    activate(3);  // another in its place, without a word in between
    pair.strand.advance(1s);
    EXPECT_EQ(Lines(pair.watch.ear.heard.end() - 2, pair.watch.ear.heard.end()),
              (Lines{"unpaired", "activated"}));
  }
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
