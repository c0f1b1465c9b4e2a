#include <algorithm>

#include <gtest/gtest.h>

#include "link/FaultRow.h"
#include "link/FrameWriter.h"
#include "link/ManualStrand.h"
#include "link/OwnAddress.h"
#include "link/PairingAddress.h"
#include "link/WatchPairing.h"
#include "link/Wire.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
using Step = PairingStatus::Step;

KeyHash keyOf(char name) {
  return sha256({asBytes({&name, 1})});
}

/// The two ends of a channel between keys, as TLS would hand them out.
struct Channel {
  Channel(Wire& wire, const KeyHash& watch, const KeyHash& phone) {
    Bytes32 key{};
    fillRandom(key);
    toPhone = {wire.takeFirst(), watch, true, key};
    toWatch = {wire.takeSecond(), phone, true, key};
  }
  SecureStream toPhone;  // what the phone holds
  SecureStream toWatch;
};

/// A phone's side, or one who plays an end: says yes or no at once, or later.
struct Player : PairingOwner {
  std::optional<std::string> objectionToAttempt(PairingExchange&, bool) override { return std::nullopt; }
  bool takeToken(const std::function<bool(const PairingToken&)>&) override { return false; }
  void compare(const std::string& shown) override {
    code = shown;
    if (exchange && says) exchange->confirm(*says);
  }
  bool pin(const KeyHash& peer) override {
    if (!canPin) return false;
    pinned = peer;
    return true;
  }
  void exchangeDidEnd(PairingExchange&, PairingOutcome how, const std::string& why) override {
    outcome = how;
    reason = why;
  }
  void play(ManualStrand& strand, SecureStream stream, Role role, char name,
            std::optional<PairingToken> token = {}) {
    exchange = std::make_unique<PairingExchange>(
        strand, std::move(stream), PairingExchange::Options{role, keyOf(name), token, {}}, *this);
    exchange->start();
  }

  std::unique_ptr<PairingExchange> exchange;
  std::optional<bool> says;
  bool canPin = true;
  std::string code;
  std::optional<KeyHash> pinned;
  std::optional<PairingOutcome> outcome;
  std::string reason;
};

/// A watch with its window, to which phones come over wires.
struct PairingWorld {
  Wire& connect(Player& phone, std::optional<PairingToken> token = {}) {
    wires.push_back(std::make_unique<Wire>(strand));
    Channel channel(*wires.back(), keyOf('w'), keyOf('p'));
    watch.take(std::move(channel.toWatch));
    phone.play(strand, std::move(channel.toPhone), Role::phone, 'p', token);
    strand.run();
    return *wires.back();
  }
  /// What a phone hears whose attempt ends by itself.
  std::string attempt(std::optional<PairingToken> token = {}) {
    Player phone;
    connect(phone, token);
    return phone.reason;
  }

  ManualStrand strand;
  std::vector<std::unique_ptr<Wire>> wires;
  bool canPin = true;
  std::optional<KeyHash> pinned;
  WatchPairing watch{strand,
                     keyOf('w'),
                     {[this](const KeyHash& peer) {
                        if (canPin) pinned = peer;
                        return canPin;
                      },
                      {}}};
};

/// An end whose other end is frames that the test writes.
struct AgainstFrames : Deaf {
  explicit AgainstFrames(Role role, std::optional<PairingToken> token = {}) {
    const bool isWatch = role == Role::watch;
    stream = std::move((isWatch ? ends.toPhone : ends.toWatch).stream);
    stream->start(*this);
    end.says = true;
    end.play(strand, std::move(isWatch ? ends.toWatch : ends.toPhone), role, isWatch ? 'w' : 'p', token);
    strand.run();
  }
  void say(FrameType type, const char* key, ByteView value, std::uint8_t flags = kCriticalFrame) {
    Bytes bytes;
    appendFrame(bytes, {type, flags, 0, writePropertyList(PlistDictionary{{key, value}})});
    stream->write(std::move(bytes));
    strand.run();
  }
  /// The next frame's 32 bytes.
  Bytes32 heard(const char* key) {
    return bytes32In(readBody(reader.next().value().body).value(), key).value();
  }
  void streamDidRead(ByteView bytes) override { reader.append(bytes); }

  ManualStrand strand;
  Wire wire{strand};
  Channel ends{wire, keyOf('w'), keyOf('p')};
  const PairingChannel channel{ends.toPhone.channelKey, keyOf('w'), keyOf('p')};
  FrameReader reader{kMostFrameBody};
  std::unique_ptr<Stream> stream;
  Player end;
};

TEST(Pairing, PinsOnBothEndsOnceBothUsersSaidYes) {
  for (const bool phoneFirst : {true, false}) {
    PairingWorld world;
    Player phone;
    world.watch.open(true);
    world.connect(phone);
    ASSERT_EQ(world.watch.status().step, Step::comparing);
    EXPECT_EQ(phone.code.size(), 6U);
    EXPECT_EQ(world.watch.status().code, phone.code);
    EXPECT_EQ(world.watch.status().peer, keyOf('p'));
    const auto say = [&](bool onPhone) {
      EXPECT_TRUE(onPhone ? phone.exchange->confirm(true) : world.watch.confirm(true));
      EXPECT_FALSE(onPhone ? phone.exchange->confirm(true) : world.watch.confirm(true)) << "once";
      world.strand.run();
    };
    say(phoneFirst);
    EXPECT_FALSE(world.pinned || phone.pinned) << "one yes is not enough";
    say(!phoneFirst);
    EXPECT_EQ(world.pinned, keyOf('p'));
    EXPECT_EQ(phone.pinned, keyOf('w'));
    EXPECT_EQ(phone.outcome, PairingOutcome::paired);
    EXPECT_EQ(world.watch.status().step, Step::paired);
    EXPECT_FALSE(world.watch.isOpen());
  }
}

TEST(Pairing, WhoeverSaysNoOrNothingLeavesNoPin) {
  struct Case {
    std::function<void(PairingWorld&, Player&, Wire&)> happens;
    const char* onWatch;
    const char* onPhone;
  };
  const Case cases[] = {
      {[](auto& w, auto&, auto&) { w.watch.confirm(false); }, "not confirmed by the user",
       "the other end says: not confirmed by the user"},
      {[](auto& w, auto& p, auto&) {
         w.watch.confirm(true);
         w.strand.run();
         p.exchange->confirm(false);
       },
       "the other end says: not confirmed by the user", "not confirmed by the user"},
      {[](auto& w, auto&, auto&) { w.strand.advance(121s); }, "the time for pairing is over",
       "took too long"},
      {[](auto&, auto&, auto& wire) { wire.cut(); }, "cut", "cut"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.onWatch);
    PairingWorld world;
    Player phone;
    world.watch.open(true);
    one.happens(world, phone, world.connect(phone));
    world.strand.run();
    EXPECT_FALSE(world.pinned || phone.pinned);
    EXPECT_EQ(phone.outcome, PairingOutcome::failed);
    EXPECT_EQ(world.watch.status().text, one.onWatch);
    EXPECT_EQ(phone.reason, one.onPhone);
    EXPECT_EQ(world.watch.status().failures, 1);
    EXPECT_FALSE(world.watch.confirm(true)) << "there is nothing to confirm any more";
  }
}

TEST(Pairing, APinOnOneSideOnlyIsSaidToBeIncomplete) {
  for (const bool wireBreaks : {false, true}) {
    PairingWorld world;
    Player phone;
    phone.canPin = wireBreaks;
    world.watch.open(true);
    Wire& wire = world.connect(phone);
    world.watch.confirm(true);
    world.strand.run();
    wire.swallow(wireBreaks);
    phone.exchange->confirm(true);
    world.strand.advance(6s);
    EXPECT_EQ(phone.pinned.has_value(), wireBreaks);
    EXPECT_EQ(phone.outcome, wireBreaks ? PairingOutcome::incomplete : PairingOutcome::failed);
    EXPECT_EQ(phone.reason, wireBreaks ? "took too long" : "the pairing could not be written down");
    EXPECT_EQ(world.pinned.has_value(), !wireBreaks);
    EXPECT_EQ(world.watch.status().step, wireBreaks ? Step::waiting : Step::incomplete);
    EXPECT_EQ(world.watch.status().code, wireBreaks ? phone.code : "");
  }
}

TEST(Pairing, ATokenPairsOnceWithoutAnybody) {
  PairingWorld world;
  const PairingToken token = WatchPairing::newToken();
  world.watch.open(false, token);
  EXPECT_EQ(world.attempt(), "the other end says: this watch does not pair in this way now");
  EXPECT_EQ(world.attempt(WatchPairing::newToken()), "the other end says: the token does not hold");
  EXPECT_EQ(world.watch.status().failures, 1);
  EXPECT_EQ(world.attempt(token), "the other end says: too soon after the last attempt");
  EXPECT_EQ(world.watch.status().failures, 1) << "that was no attempt";
  world.strand.advance(10s);
  world.canPin = false;
  EXPECT_EQ(world.attempt(token), "the other end says: the pairing could not be written down");
  world.canPin = true;
  world.strand.advance(10s);
  EXPECT_EQ(world.attempt(token), "the other end says: this watch does not pair in this way now")
      << "used up";
  EXPECT_EQ(world.watch.status().failures, 2);
  const PairingToken next = WatchPairing::newToken();
  world.watch.open(false, next);
  Player right;
  world.connect(right, next);
  EXPECT_EQ(right.outcome, PairingOutcome::paired);
  EXPECT_EQ(right.pinned, keyOf('w'));
  EXPECT_EQ(world.pinned, keyOf('p'));
}

TEST(Pairing, ATokenIsNotProvedByWhoOnlySeesTheProof) {
  AgainstFrames phone(Role::phone, WatchPairing::newToken());
  phone.say(FrameType::pairToken, "proof", phone.heard("proof"));  // its own, echoed
  phone.say(FrameType::pairDone, "x", {});
  EXPECT_FALSE(phone.end.pinned);
  EXPECT_EQ(phone.end.reason, "the token does not hold");
}

// The code, the proofs and the commitment stand for this very channel: what is carried over from another one,
// by who stands between, fails like any other wrong number.
TEST(Pairing, AYesThatIsNotProvedPinsNothing) {
  for (const bool echoes : {false, true}) {
    AgainstFrames watch(Role::watch);
    const Bytes32 nonce = sha256({asBytes("a nonce")});
    watch.say(FrameType::pairCommit, "commit", pairingCommitment(watch.channel, nonce));
    const Bytes32 watchNonce = watch.heard("nonce");
    watch.say(FrameType::pairReveal, "nonce", nonce);
    EXPECT_EQ(watch.end.code, pairingCode(watch.channel, watchNonce, nonce));
    const Bytes32 watchProof = watch.heard("proof");
    EXPECT_EQ(watchProof, confirmationProof(watch.channel, Role::watch, watchNonce, nonce));
    watch.say(FrameType::pairProof, "proof", echoes ? watchProof : Bytes32{});
    EXPECT_FALSE(watch.end.pinned);
    EXPECT_EQ(watch.end.reason, "the proof does not hold");
  }
}

TEST(Pairing, FramesOutOfPlaceEndIt) {
  using enum FrameType;
  struct Sent {
    FrameType type;
    const char* key;
    std::size_t size;
    std::uint8_t flags = kCriticalFrame;
  };
  const char* const outOfPlace = "a frame that does not belong here";
  const auto unknown = static_cast<FrameType>(0x5F);
  const Sent commit{pairCommit, "commit", 32};
  const std::pair<std::vector<Sent>, std::string> cases[] = {
      {{{pairCommit, "commit", 31}}, "a commitment is 32 bytes"},
      {{{pairDone, "x", 1}}, outOfPlace},
      {{{pairProof, "proof", 32}}, outOfPlace},
      {{{hello, "x", 1}}, outOfPlace},
      {{commit, commit}, outOfPlace},
      {{commit, {pairReveal, "nonce", 32}}, "the commitment does not hold"},
      {{{unknown, "x", 1}}, outOfPlace},
      {{{unknown, "x", 1, 0}}, ""},  // it need not be known: the exchange goes on
      {std::vector<Sent>(3, {unknown, "x", 4000, 0}), "too much was sent"},
      {{{unknown, "x", 9000, 0}}, "a frame is too large"},
  };
  for (const auto& [sent, reason] : cases) {
    AgainstFrames watch(Role::watch);
    for (const Sent& one : sent) watch.say(one.type, one.key, Bytes(one.size, std::byte{1}), one.flags);
    EXPECT_FALSE(watch.end.pinned);
    EXPECT_EQ(watch.end.outcome.has_value(), !reason.empty());
    EXPECT_EQ(watch.end.reason, reason);
    watch.strand.advance(6s);
    EXPECT_TRUE(watch.end.outcome) << "nobody may wait for ever";
  }
}

TEST(Pairing, TheWindowTakesOneAtATimeAndThreeFailures) {
  PairingWorld world;
  world.watch.open(true);
  for (int failures = 1; failures <= 3; ++failures) {
    EXPECT_TRUE(world.watch.isOpen());
    Player phone;
    world.connect(phone);
    EXPECT_EQ(world.attempt(), "the other end says: another phone is pairing");
    ASSERT_TRUE(world.watch.confirm(false));
    EXPECT_EQ(world.watch.status().failures, failures);
    if (failures < 3) world.strand.advance(10s);
  }
  EXPECT_FALSE(world.watch.isOpen());
  EXPECT_FALSE(world.watch.status().takesMore);
  world.watch.open(true);
  EXPECT_EQ(world.attempt(), "the other end says: too soon after the last attempt") << "no way round";
  world.strand.advance(10s);
  Player phone;
  world.connect(phone);
  EXPECT_TRUE(world.watch.confirm(false) && world.watch.isOpen()) << "the failures before are over";
  world.strand.advance(121s);
  EXPECT_EQ(world.watch.status().step, Step::closed);
}

TEST(Pairing, AddressesReadBackAndNothingElseDoes) {
  const std::string key(64, 'a');
  const std::string page = "tunevale-pair://h:1?key=" + key;
  for (const std::string& good : {"tunevale-pair://127.0.0.1:8421?key=" + key,
                                  "tunevale-pair://[::1]:1?key=" + key + "&token=" + std::string(32, '7')}) {
    const auto address = parsePairingAddress(good);
    ASSERT_TRUE(address) << good;
    EXPECT_EQ(inWords(*address), good);
  }
  EXPECT_EQ(parsePairingAddress("10.0.0.1:80")->endpoint.port, 80);
  for (const std::string bad : {"", "host", ":1", "h:0", "h:65536", "h:1x", "h:1?key=", "::1:80"})
    EXPECT_FALSE(parsePairingAddress(bad + (bad.ends_with('=') ? key : ""))) << bad;
  for (const std::string& bad :
       {page.substr(0, page.size() - 1), page + "&key=" + key, page + "&more=1",
        "tunevale-pair://h:1?token=" + std::string(32, '7'), "http" + page.substr(13)}) {
    EXPECT_FALSE(parsePairingAddress(bad)) << bad;
  }
  // What a phone elsewhere can use, whatever the watch was told to listen on.
  EXPECT_EQ(endpointForOthers({"localhost", 1}).host, "127.0.0.1");
  EXPECT_EQ(endpointForOthers({"::1", 1}).host, "::1");
  for (const char* any : {"0.0.0.0", "::"}) EXPECT_NE(endpointForOthers({any, 1}).host, any);
}

// Who stands between plays each end to the other, with a key of his own.
TEST(FaultTable, F10AManInTheMiddleOfPairing) {
  const int runs = faultCount(2'000, 200);
  int equal = 0;
  int pinned = 0;
  for (int run = 0; run < runs; ++run) {
    PairingWorld world;
    world.watch.open(true);
    int attempts = 0;
    for (; world.watch.isOpen(); ++attempts) {
      Player asWatch;
      Player asPhone;
      asWatch.says = asPhone.says = true;
      Wire wire(world.strand);
      Channel near(wire, keyOf('m'), keyOf('p'));
      asWatch.play(world.strand, std::move(near.toWatch), Role::watch, 'm');
      Wire second(world.strand);
      Channel far(second, keyOf('w'), keyOf('m'));
      world.watch.take(std::move(far.toWatch));
      asPhone.play(world.strand, std::move(far.toPhone), Role::phone, 'm');
      Player phone;
      phone.play(world.strand, std::move(near.toPhone), Role::phone, 'p');
      world.strand.run();
      ASSERT_EQ(world.watch.status().step, Step::comparing);
      ASSERT_EQ(phone.code.size(), 6U);
      const bool same = phone.code == world.watch.status().code;
      equal += same;
      world.watch.confirm(same);  // people compare, and say what they see
      phone.exchange->confirm(same);
      world.strand.run();
      pinned += (world.pinned || phone.pinned) && !same;
      world.strand.advance(10s);
    }
    EXPECT_TRUE(attempts == 3 || equal > 0) << "locked out after three";
  }
  FaultRow("F10") << runs << " men in the middle, " << 3 * runs << " attempts: codes equal " << equal
                  << " times, pinned with unequal codes " << pinned;
  EXPECT_LE(equal, 1);
  EXPECT_EQ(pinned, 0);
}

}  // namespace
}  // namespace tunevale::link
