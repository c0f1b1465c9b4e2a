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
  explicit PairingWorld(std::uint64_t seed = 1) : strand(seed) {}
  Wire& connect(Player& phone, std::optional<PairingToken> token = {}) {
    wires.push_back(std::make_unique<Wire>(strand));
    Channel channel(*wires.back(), keyOf('w'), keyOf('p'));
    watch.take(std::move(channel.toWatch));
    phone.play(strand, std::move(channel.toPhone), Role::phone, 'p', token);
    strand.run();
    return *wires.back();
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
    const char* name;
    std::function<void(PairingWorld&, Player&, Wire&)> happens;
    const char* onWatch;
    const char* onPhone;
  };
  const Case cases[] = {
      {"the watch says no", [](auto& w, auto&, auto&) { w.watch.confirm(false); },
       "not confirmed by the user", "the other end says: not confirmed by the user"},
      {"the phone says no after the watch said yes",
       [](auto& w, auto& p, auto&) {
         w.watch.confirm(true);
         w.strand.run();
         p.exchange->confirm(false);
       },
       "the other end says: not confirmed by the user", "not confirmed by the user"},
      {"nobody answers", [](auto& w, auto&, auto&) { w.strand.advance(121s); },
       "the time for pairing is over", "took too long"},
      {"the connection goes", [](auto&, auto&, auto& wire) { wire.cut(); }, "the wire broke",
       "the wire broke"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    PairingWorld world;
    Player phone;
    world.watch.open(true);
    Wire& wire = world.connect(phone);
    one.happens(world, phone, wire);
    world.strand.run();
    EXPECT_FALSE(world.pinned || phone.pinned);
    EXPECT_EQ(phone.outcome, PairingOutcome::failed);
    if (std::string(one.name) != "the connection goes") {
      EXPECT_EQ(world.watch.status().text, one.onWatch);
      EXPECT_EQ(phone.reason, one.onPhone);
    }
    EXPECT_EQ(world.watch.status().failures, 1);
    EXPECT_FALSE(world.watch.confirm(true)) << "there is nothing to confirm any more";
  }
}

TEST(Pairing, APinOnOneSideOnlyIsSaidToBeIncomplete) {
  PairingWorld world;
  Player phone;
  phone.canPin = false;
  world.watch.open(true);
  world.connect(phone);
  phone.exchange->confirm(true);
  world.watch.confirm(true);
  world.strand.run();
  EXPECT_EQ(world.watch.status().step, Step::incomplete);
  EXPECT_EQ(phone.outcome, PairingOutcome::failed);
  EXPECT_EQ(phone.reason, "the pairing could not be written down");
  // The other way round, and by a wire that breaks.
  PairingWorld second;
  Player lost;
  second.watch.open(true);
  Wire& wire = second.connect(lost);
  lost.says = true;
  second.watch.confirm(true);
  second.strand.run();
  wire.swallow(true);
  lost.exchange->confirm(true);
  EXPECT_EQ(lost.pinned, keyOf('w'));
  second.strand.advance(6s);
  EXPECT_EQ(lost.outcome, PairingOutcome::incomplete);
  EXPECT_FALSE(second.pinned);
}

TEST(Pairing, ATokenPairsOnceWithoutAnybody) {
  PairingWorld world;
  const PairingToken token = WatchPairing::newToken();
  world.watch.open(false, token);
  Player byCode;
  world.connect(byCode);
  EXPECT_EQ(byCode.reason, "the other end says: this watch does not pair in this way now");
  Player wrong;
  world.connect(wrong, WatchPairing::newToken());
  EXPECT_EQ(wrong.reason, "the other end says: the token does not hold");
  EXPECT_EQ(world.watch.status().failures, 1);
  Player hasty;
  world.connect(hasty, token);
  EXPECT_EQ(hasty.reason, "the other end says: too soon after the last attempt");
  EXPECT_EQ(world.watch.status().failures, 1) << "that was no attempt";
  world.strand.advance(10s);
  world.canPin = false;
  Player unlucky;
  world.connect(unlucky, token);
  EXPECT_EQ(unlucky.reason, "the other end says: the pairing could not be written down");
  world.canPin = true;
  world.strand.advance(10s);
  Player second;
  world.connect(second, token);
  EXPECT_EQ(second.reason, "the other end says: this watch does not pair in this way now") << "it is used up";
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
  // The watch's own proof, or the same phone's on another channel, is none.
  const PairingToken token = WatchPairing::newToken();
  const PairingChannel channel{sha256({}), keyOf('w'), keyOf('p')};
  PairingChannel other = channel;
  other.key = sha256({asBytes("another")});
  EXPECT_NE(tokenProof(channel, Role::watch, token), tokenProof(channel, Role::phone, token));
  EXPECT_NE(tokenProof(other, Role::phone, token), tokenProof(channel, Role::phone, token));
  // A watch that does not know the token pins nothing on the phone.
  ManualStrand strand;
  Wire wire(strand);
  Channel ends(wire, keyOf('w'), keyOf('p'));
  const PairingChannel real{ends.toPhone.channelKey, keyOf('w'), keyOf('p')};
  Player phone;
  phone.play(strand, std::move(ends.toPhone), Role::phone, 'p', token);
  Deaf ignore;
  ends.toWatch.stream->start(ignore);
  Bytes bytes;
  FrameWriter frames(bytes);
  frames.add(FrameType::pairToken, 0,
             PlistDictionary{{"proof", ByteView(tokenProof(real, Role::phone, token))}});  // its own, echoed
  frames.add(FrameType::pairDone, 0);
  ends.toWatch.stream->write(bytes);
  strand.run();
  EXPECT_FALSE(phone.pinned);
  EXPECT_EQ(phone.outcome, PairingOutcome::failed);
}

TEST(Pairing, AYesThatIsNotProvedPinsNothing) {
  for (const bool echoes : {false, true}) {
    ManualStrand strand;
    Wire wire(strand);
    Channel ends(wire, keyOf('w'), keyOf('p'));
    const PairingChannel channel{ends.toPhone.channelKey, keyOf('w'), keyOf('p')};
    struct : Deaf {
      void streamDidRead(ByteView bytes) override { reader.append(bytes); }
      FrameReader reader{kMostFrameBody};
    } phone;
    ends.toPhone.stream->start(phone);
    const auto say = [&](FrameType type, const char* key, const Bytes32& value) {
      Bytes bytes;
      FrameWriter(bytes).add(type, 0, PlistDictionary{{key, ByteView(value)}});
      ends.toPhone.stream->write(std::move(bytes));
      strand.run();
    };
    const auto heard = [&](const char* key) {
      Bytes32 value{};
      const auto body = readBody(phone.reader.next().value().body).value();
      std::ranges::copy(body.find(key)->bytes().value(), value.begin());
      return value;
    };
    Player watch;
    watch.says = true;
    watch.play(strand, std::move(ends.toWatch), Role::watch, 'w');
    const Bytes32 nonce = sha256({asBytes("a nonce")});
    say(FrameType::pairCommit, "commit", pairingCommitment(channel, nonce));
    const Bytes32 watchNonce = heard("nonce");
    say(FrameType::pairReveal, "nonce", nonce);
    EXPECT_EQ(watch.code, pairingCode(channel, watchNonce, nonce));
    const Bytes32 watchProof = heard("proof");
    EXPECT_EQ(watchProof, confirmationProof(channel, Role::watch, watchNonce, nonce));
    say(FrameType::pairProof, "proof", echoes ? watchProof : Bytes32{});
    EXPECT_FALSE(watch.pinned);
    EXPECT_EQ(watch.reason, "the proof does not hold");
  }
}

TEST(Pairing, FramesOutOfPlaceEndIt) {
  const auto frame = [](FrameType type, const char* key, std::size_t size,
                        std::uint8_t flags = kCriticalFrame) {
    Bytes bytes;
    appendFrame(bytes,
                {type, flags, 0, writePropertyList(PlistDictionary{{key, Bytes(size, std::byte{1})}})});
    return bytes;
  };
  struct Case {
    const char* name;
    std::vector<Bytes> sent;
    const char* reason;  // null: the exchange goes on
  };
  const auto unknown = static_cast<FrameType>(0x5F);
  const Case cases[] = {
      {"a short commitment", {frame(FrameType::pairCommit, "commit", 31)}, "a commitment is 32 bytes"},
      {"done at once", {frame(FrameType::pairDone, "x", 1)}, "a frame that does not belong here"},
      {"a proof at once", {frame(FrameType::pairProof, "proof", 32)}, "a frame that does not belong here"},
      {"a session's frame", {frame(FrameType::hello, "x", 1)}, "a frame that does not belong here"},
      {"two commitments",
       {frame(FrameType::pairCommit, "commit", 32), frame(FrameType::pairCommit, "commit", 32)},
       "a frame that does not belong here"},
      {"a nonce that was not committed to",
       {frame(FrameType::pairCommit, "commit", 32), frame(FrameType::pairReveal, "nonce", 32)},
       "the commitment does not hold"},
      {"an unknown frame", {frame(unknown, "x", 1)}, "a frame that does not belong here"},
      {"an unknown frame that need not be known", {frame(unknown, "x", 1, 0)}, nullptr},
      {"too much of it", std::vector<Bytes>(3, frame(unknown, "x", 4000, 0)), "too much was sent"},
      {"too large a frame", {frame(unknown, "x", 9000, 0)}, "a frame is too large"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    ManualStrand strand;
    Wire wire(strand);
    Channel ends(wire, keyOf('w'), keyOf('p'));
    Player watch;
    watch.says = true;
    watch.play(strand, std::move(ends.toWatch), Role::watch, 'w');
    for (const Bytes& bytes : one.sent) {
      ends.toPhone.stream->write(bytes);
      strand.run();
    }
    EXPECT_FALSE(watch.pinned);
    EXPECT_EQ(watch.outcome.has_value(), one.reason != nullptr);
    EXPECT_EQ(watch.reason, one.reason != nullptr ? one.reason : "");
    strand.advance(6s);
    EXPECT_TRUE(watch.outcome) << "nobody may wait for ever";
  }
}

TEST(Pairing, TheWindowTakesOneAtATimeAndThreeFailures) {
  PairingWorld world;
  world.watch.open(true);
  Player first;
  world.connect(first);
  Player second;
  world.connect(second);
  EXPECT_EQ(second.reason, "the other end says: another phone is pairing");
  ASSERT_TRUE(world.watch.confirm(false));
  for (int failures = 2; failures <= 3; ++failures) {
    world.strand.advance(10s);
    EXPECT_TRUE(world.watch.isOpen());
    Player next;
    world.connect(next);
    ASSERT_TRUE(world.watch.confirm(false));
    EXPECT_EQ(world.watch.status().failures, failures);
  }
  EXPECT_FALSE(world.watch.isOpen());
  EXPECT_FALSE(world.watch.status().takesMore);
  world.watch.open(true);
  Player soon;
  world.connect(soon);
  EXPECT_EQ(soon.reason, "the other end says: too soon after the last attempt")
      << "reopening is no way round";
  world.strand.advance(121s);
  EXPECT_EQ(world.watch.status().step, Step::closed);
}

TEST(Pairing, AddressesReadBackAndNothingElseDoes) {
  const std::string key(64, 'a');
  const std::string token(32, '7');
  for (const std::string& good : {"tunevale-pair://127.0.0.1:8421?key=" + key,
                                  "tunevale-pair://[::1]:1?key=" + key + "&token=" + token}) {
    const auto address = parsePairingAddress(good);
    ASSERT_TRUE(address) << good;
    EXPECT_EQ(inWords(*address), good);
  }
  EXPECT_EQ(parsePairingAddress("10.0.0.1:80")->endpoint.port, 80);
  // What a phone elsewhere can use, whatever the watch was told to listen on.
  EXPECT_EQ(endpointForOthers({"localhost", 1}).host, "127.0.0.1");
  EXPECT_EQ(endpointForOthers({"::1", 1}).host, "::1");
  const std::string anyFour = endpointForOthers({"0.0.0.0", 1}).host;
  EXPECT_TRUE(anyFour != "0.0.0.0" && anyFour.find(':') == std::string::npos) << anyFour;
  const std::string anySix = endpointForOthers({"::", 1}).host;
  EXPECT_TRUE(anySix != "::" && anySix.find(':') != std::string::npos) << anySix;
  for (const std::string& bad :
       {std::string(), std::string("host"), std::string(":1"), std::string("h:0"), std::string("h:65536"),
        std::string("h:1x"), "h:1?key=" + key, std::string("::1:80"), "tunevale-pair://h:1?token=" + token,
        "tunevale-pair://h:1?key=" + key.substr(1), "tunevale-pair://h:1?key=" + key + "&key=" + key,
        "tunevale-pair://h:1?key=" + key + "&more=1", "http://h:1?key=" + key}) {
    EXPECT_FALSE(parsePairingAddress(bad)) << bad;
  }
}

/// Who stands between and plays each end to the other, with a key of his own.
struct Between {
  Between(PairingWorld& world, Player& phone) : wireToPhone(world.strand), wireToWatch(world.strand) {
    Channel near(wireToPhone, keyOf('m'), keyOf('p'));
    Channel far(wireToWatch, keyOf('w'), keyOf('m'));
    asWatch.says = asPhone.says = true;
    world.watch.take(std::move(far.toWatch));
    asWatch.play(world.strand, std::move(near.toWatch), Role::watch, 'm');
    asPhone.play(world.strand, std::move(far.toPhone), Role::phone, 'm');
    phone.play(world.strand, std::move(near.toPhone), Role::phone, 'p');
    world.strand.run();
  }
  Wire wireToPhone;
  Wire wireToWatch;
  Player asWatch;
  Player asPhone;
};

TEST(FaultTable, F10AManInTheMiddleOfPairing) {
  const int runs = faultCount(2'000, 200);
  int equal = 0;
  int pinned = 0;
  int lockedOut = 0;
  for (int run = 0; run < runs; ++run) {
    PairingWorld world(static_cast<std::uint64_t>(run) + 1);
    world.watch.open(true);
    int attempts = 0;
    while (world.watch.isOpen()) {
      Player phone;
      Between between(world, phone);
      ASSERT_EQ(world.watch.status().step, Step::comparing);
      ASSERT_EQ(phone.code.size(), 6U);
      const bool same = phone.code == world.watch.status().code;
      if (same) ++equal;
      world.watch.confirm(same);  // people compare, and say what they see
      phone.exchange->confirm(same);
      world.strand.run();
      if ((world.pinned || phone.pinned) && !same) ++pinned;
      ++attempts;
      world.strand.advance(10s);
    }
    if (attempts == 3) ++lockedOut;
  }
  FaultRow("F10") << runs << " men in the middle, " << 3 * runs << " attempts: codes equal " << equal
                  << " times, pinned with unequal codes " << pinned << ", locked out after three "
                  << lockedOut;
  EXPECT_LE(equal, 1);
  EXPECT_EQ(pinned, 0);
  EXPECT_GE(lockedOut, runs - 1);
}

/// Carries bytes between two streams as they are.
struct Relay : Deaf {
  void streamDidRead(ByteView bytes) override { to->write({bytes.begin(), bytes.end()}); }
  Stream* to = nullptr;
};

TEST(Pairing, FramesCarriedOverFromAnotherChannelFail) {
  PairingWorld world;
  world.watch.open(true);
  Wire near(world.strand);
  Wire far(world.strand);
  Channel toPhone(near, keyOf('m'), keyOf('p'));
  Channel toWatch(far, keyOf('w'), keyOf('m'));
  Relay down;
  Relay up;
  down.to = toPhone.toWatch.stream.get();
  up.to = toWatch.toPhone.stream.get();
  toPhone.toWatch.stream->start(up);
  toWatch.toPhone.stream->start(down);
  world.watch.take(std::move(toWatch.toWatch));
  Player phone;
  phone.play(world.strand, std::move(toPhone.toPhone), Role::phone, 'p');
  world.strand.run();
  EXPECT_EQ(world.watch.status().step, Step::failed);
  EXPECT_EQ(world.watch.status().text, "the commitment does not hold");
  EXPECT_FALSE(phone.pinned);
}

}  // namespace
}  // namespace tunevale::link
