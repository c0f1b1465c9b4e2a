#include <gtest/gtest.h>

#include "link/PhonePairing.h"
#include "link/WatchPairing.h"
#include "link/tls/TlsWorld.h"

namespace tunevale::link {
namespace {

using Step = PairingStatus::Step;

/// A watch that nobody is paired with yet, and phones that pair over real connections.
struct PairingOverTls : testing::Test {
  PairingOverTls() {
    world.watchPin.reset();
    world.phonePin.reset();
    world.listener.start([this](SecureStream stream) {
      if (stream.isPairing) return watch.take(std::move(stream));
      world.accepted.push_back(std::move(stream));
    });
  }
  std::unique_ptr<PhonePairing> pair(const PairingAddress& address) {
    world.pairing = watch.isOpen();
    return std::make_unique<PhonePairing>(world.loop, world.phone, address,
                                          PairingCallbacks{[this](const KeyHash& peer) {
                                                             world.phonePin = peer;
                                                             return true;
                                                           },
                                                           {}});
  }
  bool comesTo(const PhonePairing& phone, Step step) {
    return world.until([&] { return phone.status().step == step; });
  }
  PairingAddress address() const { return {{"127.0.0.1", world.listener.port()}, {}, {}}; }

  TlsWorld world;
  WatchPairing watch{world.loop,
                     world.watch.keyHash(),
                     {[this](const KeyHash& peer) {
                        world.watchPin = peer;
                        return true;
                      },
                      {}}};
};

TEST_F(PairingOverTls, FailuresSayWhy) {
  const auto failure = [&](const PairingAddress& where) {
    const auto phone = pair(where);
    EXPECT_TRUE(comesTo(*phone, Step::failed));
    return phone->status().text;
  };
  EXPECT_EQ(failure(address()), "the other end is not open for pairing");
  PairingAddress nowhere = address();
  nowhere.endpoint.port = 1;
  EXPECT_EQ(failure(nowhere), "cannot connect: Connection refused");
  watch.open(true);
  PairingAddress other = address();
  other.key = world.phone.keyHash();
  EXPECT_EQ(
      failure(other),
      "the other end's key is not the one that is known: somebody else is there, or it has lost its key");
  EXPECT_EQ(watch.status().failures, 0) << "the watch's window is not spent on that";
}

}  // namespace
}  // namespace tunevale::link
