#include <gtest/gtest.h>

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

TEST(Tls, AReaderThatPausesGetsTheRestLater) {
  TlsWorld world;
  const auto phone = world.dial(world.phone);
  ASSERT_TRUE(world.until([&] { return world.accepted.size() == 1; }));
  Sink watch(std::move(world.accepted.front().stream));
  watch.stream->setReading(false);
  phone->say(std::string(20'000'000, 'x'));
  EXPECT_FALSE(world.until([&] { return phone->writes == 1; }, 300ms)) << "nobody reads, so it waits";
  const std::size_t early = watch.read.size();
  EXPECT_LE(early, 64U * 1024);
  watch.stream->setReading(true);
  ASSERT_TRUE(world.until([&] { return watch.read.size() == 20'000'000 && phone->writes == 1; }, 20s));
}

TEST(Tls, ACloseThatNobodyAnswersEndsInTime) {
  TlsWorld world(Timing{.tlsShutdown = 100ms});
  auto phone = world.dial(world.phone);
  ASSERT_TRUE(world.until([&] { return world.accepted.size() == 1; }));
  Sink watch(std::move(world.accepted.front().stream));
  watch.stream->setReading(false);
  phone->say(std::string(20'000'000, 'x'));
  world.until([] { return false; }, 50ms);
  phone->stream->close();
  world.until([] { return false; }, 300ms);
  watch.stream->setReading(true);
  ASSERT_TRUE(world.until([&] { return !watch.ended.empty(); }));
  EXPECT_EQ(watch.ended, "the connection broke") << "an end that was not announced is told apart";
  EXPECT_LT(watch.read.size(), 20'000'000U);
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

TEST(Tls, PairingIsTakenOnlyWhileItIsOpenAndFromTheRightWatch) {
  TlsWorld world;
  const auto pair = [&](std::optional<KeyHash> expected, const Identity& who) {
    bool done = false;
    std::optional<SecureStream> made;
    const auto dialing = dialForPairing(world.loop, who, expected,
                                        {{"127.0.0.1", world.listener.port()},
                                         {},
                                         [&](const Refused& one) { world.phoneRefused.push_back(one); }},
                                        [&](std::optional<SecureStream> stream) {
                                          made = std::move(stream);
                                          done = true;
                                        });
    EXPECT_TRUE(world.until([&] { return done; }));
    return made;
  };
  EXPECT_FALSE(pair({}, world.phone));
  EXPECT_EQ(world.phoneRefused.back().why, Refusal::notPairing);
  world.pairing = true;
  EXPECT_FALSE(pair(world.phone.keyHash(), world.phone));
  EXPECT_EQ(world.phoneRefused.back().why, Refusal::otherKey);
  EXPECT_EQ(world.phoneRefused.back().key, world.watch.keyHash());
  EXPECT_FALSE(pair({}, world.watch));
  EXPECT_EQ(world.phoneRefused.back().why, Refusal::ownKey) << "somebody sends one's own words back";
  const auto phone = pair(world.watch.keyHash(), world.phone);
  ASSERT_TRUE(phone);
  ASSERT_TRUE(world.until([&] { return world.accepted.size() == 1; }));
  EXPECT_TRUE(world.accepted.back().isPairing);
  EXPECT_EQ(world.accepted.back().channelKey, phone->channelKey);
  const auto second = pair({}, world.phone);
  ASSERT_TRUE(second && world.until([&] { return world.accepted.size() == 2; }));
  EXPECT_NE(second->channelKey, phone->channelKey) << "every connection has its own";
}

}  // namespace
}  // namespace tunevale::link
