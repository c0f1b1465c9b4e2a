#include <set>

#include <gtest/gtest.h>

#include "link/PhonePairing.h"
#include "link/WatchPairing.h"
#include "link/tls/TlsWorld.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

TEST(Tls, CarriesEverythingInOrderBothWays) {
  TlsWorld world;
  const auto phone = world.dial(world.phone);
  ASSERT_TRUE(phone);
  ASSERT_TRUE(world.until([&] { return world.accepted.size() == 1; }));
  EXPECT_EQ(world.accepted.front().peer, world.phone.keyHash());
  EXPECT_FALSE(world.accepted.front().isPairing);
  EXPECT_EQ(world.listener.handshakes(), 0U);
  Sink watch(std::move(world.accepted.front().stream));
  std::string big(1'000'000, ' ');
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>('a' + i * 7 % 26);
  phone->say(big);
  watch.say("from the watch");
  ASSERT_TRUE(world.until([&] { return watch.read.size() == big.size() && phone->writes == 1; }));
  EXPECT_TRUE(watch.read == big);
  ASSERT_TRUE(world.until([&] { return phone->read == "from the watch" && watch.writes == 1; }));

  phone->say("last words");
  phone->stream->close();  // at once: they still arrive, and then the end as an announced one
  ASSERT_TRUE(world.until([&] { return !watch.ended.empty(); }));
  EXPECT_TRUE(watch.read.ends_with("last words"));
  EXPECT_EQ(watch.ended, "the other end has closed the connection");
}

TEST(Tls, AReaderThatPausesGetsTheRestLaterUnlessTheWriterCannotWait) {
  for (const bool closes : {false, true}) {
    TlsWorld world(closes ? Timing{.tlsShutdown = 100ms} : Timing{});
    const auto phone = world.dial(world.phone);
    ASSERT_TRUE(world.until([&] { return world.accepted.size() == 1; }));
    Sink watch(std::move(world.accepted.front().stream));
    watch.stream->setReading(false);
    phone->say(std::string(20'000'000, 'x'));
    EXPECT_FALSE(world.until([&] { return phone->writes == 1; }, 300ms)) << "nobody reads, so it waits";
    EXPECT_LE(watch.read.size(), 64U * 1024);
    if (closes) {
      phone->stream->close();
      world.until([] { return false; }, 300ms);
    }
    watch.stream->setReading(true);
    ASSERT_TRUE(world.until([&] { return !watch.ended.empty() || phone->writes == 1; }, 20s));
    EXPECT_EQ(world.until([&] { return watch.read.size() == 20'000'000; }, closes ? 0s : 20s), !closes);
    EXPECT_EQ(watch.ended, closes ? "the connection broke" : "") << "not announced, and so told apart";
  }
}

TEST(Tls, BothEndsSayWhatIsWrongWithTheOther) {
  struct Case {
    const char* name;
    std::function<void(TlsWorld&)> spoil;
    bool dials;  // whether the phone's handshake succeeds, as the client's may
    std::optional<Refusal> onPhone;
    std::optional<Refusal> onWatch;
  };
  const KeyHash other = Identity::temporary().keyHash();
  const Case cases[] = {
      {"all well", [](TlsWorld&) {}, true, {}, {}},
      {"the phone is not paired", [](TlsWorld& w) { w.phonePin.reset(); }, false, Refusal::notPaired, {}},
      {"the watch is not paired", [](TlsWorld& w) { w.watchPin.reset(); }, true, Refusal::notKnown,
       Refusal::notPaired},
      {"the watch knows another phone", [&](TlsWorld& w) { w.watchPin = other; }, true, Refusal::notKnown,
       Refusal::otherKey},
      {"the phone knows another watch", [&](TlsWorld& w) { w.phonePin = other; }, false, Refusal::otherKey,
       Refusal::notKnown},
      // There when the certificate is looked at, gone at the end of the handshake.
      {"the pin goes during the handshake",
       [](TlsWorld& w) { w.pinVanishes = true; },
       true,
       {},
       Refusal::notPaired},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    TlsWorld world;
    one.spoil(world);
    const auto phone = world.dial(world.phone);
    EXPECT_EQ(phone != nullptr, one.dials);
    const auto same = [](const std::vector<Refused>& told, const std::optional<Refusal>& wanted) {
      return wanted ? told.size() == 1 && told.front().why == *wanted : told.empty();
    };
    ASSERT_TRUE(world.until([&] {
      return same(world.phoneRefused, one.onPhone) && same(world.watchRefused, one.onWatch) &&
             world.accepted.size() == (one.onPhone || one.onWatch ? 0U : 1U);
    }));
    if (one.onWatch == Refusal::otherKey) {
      EXPECT_EQ(world.watchRefused.front().key, world.phone.keyHash());
    }
    if (phone && one.onPhone) {
      EXPECT_TRUE(world.until([&] { return !phone->ended.empty(); }));
    }
  }
}

TEST(Tls, PairsWithTheRightWatchWhileItIsOpenOrSaysWhyNot) {
  TlsWorld world;
  world.watchPin.reset();
  const auto pinTo = [](std::optional<KeyHash>& pin) {
    return PairingCallbacks{[&pin](const KeyHash& peer) { return pin = peer, true; }, {}};
  };
  WatchPairing watch(world.loop, world.watch.keyHash(), pinTo(world.watchPin));
  std::set<Bytes32> channels;
  world.listener.start([&](SecureStream stream) {
    EXPECT_TRUE(stream.isPairing);
    channels.insert(stream.channelKey);
    watch.take(std::move(stream));
  });
  const auto attempt = [&](const PairingAddress& where, const Identity& who) {
    world.pairing = watch.isOpen();
    world.phonePin.reset();
    PhonePairing phone(world.loop, who, where, pinTo(world.phonePin));
    EXPECT_TRUE(world.until([&] {
      return phone.status().step == PairingStatus::Step::failed ||
             phone.status().step == PairingStatus::Step::paired;
    }));
    return phone.status().text;
  };
  const PairingToken token = WatchPairing::newToken();
  const Endpoint place{"127.0.0.1", world.listener.port()};
  const PairingAddress right{place, world.watch.keyHash(), token};
  EXPECT_EQ(attempt(right, world.phone), "the other end is not open for pairing");
  EXPECT_EQ(attempt({{"127.0.0.1", 1}, {}, {}}, world.phone), "cannot connect: Connection refused");
  watch.open(false, token);
  EXPECT_EQ(
      attempt({place, world.phone.keyHash(), token}, world.phone),
      "the other end's key is not the one that is known: somebody else is there, or it has lost its key");
  EXPECT_EQ(attempt({place, {}, {}}, world.watch), "the other end shows this end's own key")
      << "somebody sends one's own words back";
  EXPECT_EQ(watch.status().failures, 0) << "the watch's window is not spent on that";
  EXPECT_EQ(attempt(right, world.phone), "paired");
  EXPECT_EQ(world.phonePin, world.watch.keyHash());
  EXPECT_EQ(world.watchPin, world.phone.keyHash());
  watch.open(false, token);
  EXPECT_EQ(attempt(right, world.phone), "the other end says: too soon after the last attempt");
  EXPECT_EQ(channels.size(), 2U) << "every connection has its own";
}

}  // namespace
}  // namespace tunevale::link
