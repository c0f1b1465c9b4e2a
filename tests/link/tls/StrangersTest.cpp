// Who is not the paired phone: nothing that it says arrives, and nothing is said to it.
#include <array>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <sys/socket.h>
#include <unistd.h>

#include "link/FaultRow.h"
#include "link/tls/RawClient.h"
#include "link/tls/TlsWorld.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char kHello[] = "an application's first words";

/// The world's loop on a thread of its own, for clients that block.
struct LiveWorld : TlsWorld {
  LiveWorld() { loop.start(); }
  ~LiveWorld() { loop.stop(); }
  bool comes(const std::function<bool()>& condition) {
    for (int i = 0; i < 400; ++i) {
      std::promise<bool> answer;
      loop.post([&] { answer.set_value(condition()); });
      if (answer.get_future().get()) return true;
      std::this_thread::sleep_for(5ms);  // real sockets take real time
    }
    return false;
  }
};

unsigned offerNoCertificate(SSL* /*ssl*/, const char* /*hint*/, char* identity, unsigned most,
                            unsigned char* psk, unsigned mostKey) {
  std::snprintf(identity, most, "a phone");
  std::fill_n(psk, std::min(mostKey, 32U), static_cast<unsigned char>(7));
  return std::min(mostKey, 32U);
}

TEST(FaultTable, F9NobodyButThePairedPhone) {
  const Identity stranger = Identity::temporary();
  const std::string_view session = kSessionProtocol;
  struct Case {
    const char* name;
    std::function<void(LiveWorld&, RawClient&)> speak;
  };
  const auto speaks = [](const Identity* identity, std::string_view protocol,
                         std::function<void(SSL_CTX&)> spoil = {}) {
    return [=](LiveWorld& world, RawClient& client) {
      if (client.handshake(identity == nullptr ? nullptr : identity, protocol, spoil))
        client.sendInside(kHello);
      static_cast<void>(world);
    };
  };
  LiveWorld world;
  std::string recorded;
  {
    RawClient paired(world.listener.port());
    ASSERT_TRUE(paired.handshake(&world.phone, session));
    paired.sendInside(kHello);
    recorded = paired.sent();
  }
  const Case cases[] = {
      {"wrong key", speaks(&stranger, session)},
      {"no certificate", speaks(nullptr, session)},
      {"TLS 1.2", speaks(&world.phone, session,
                         [](SSL_CTX& context) { SSL_CTX_set_max_proto_version(&context, TLS1_2_VERSION); })},
      {"wrong ALPN", speaks(&world.phone, "http/1.1")},
      {"no ALPN", speaks(&world.phone, "")},
      {"pairing while it is closed", speaks(&stranger, kPairingProtocol)},
      {"plain text",
       [](LiveWorld&, RawClient& client) { client.sendPlain("GET / HTTP/1.1\r\nHost: a\r\n\r\n"); }},
      {"a plain frame",
       [](LiveWorld&, RawClient& client) {
         client.sendPlain(std::string("\0\0\0\0\4\1\0\0\0\0\0\0\0\0\0\0", 16));
       }},
      {"a pre-shared key and no certificate",
       speaks(nullptr, session,
              [](SSL_CTX& context) { SSL_CTX_set_psk_client_callback(&context, offerNoCertificate); })},
      {"replayed bytes", [&](LiveWorld&, RawClient& client) { client.sendPlain(recorded); }},
      {"the watch's own key", speaks(&world.watch, session)},
      {"a chain of two certificates", speaks(&world.phone, session,
                                             [&](SSL_CTX& context) {
                                               X509* second = X509_dup(stranger.keys().certificate.get());
                                               SSL_CTX_add_extra_chain_cert(&context, second);
                                             })},
      {"more than 8 KiB of handshake",
       [](LiveWorld&, RawClient& client) {
         // The head of a first message of 64 KiB, and as much of it as is taken.
         client.sendPlain(std::string("\x16\x03\x01\x40\x00\x01\x00\xff\xff", 9) + std::string(20'000, 'x'));
       }},
  };
  ASSERT_TRUE(world.comes([&] { return world.accepted.size() == 1; })) << "the paired phone gets through";
  std::size_t said = 0;
  std::chrono::milliseconds slowest{};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    RawClient client(world.listener.port());
    const auto from = Clock::now();
    one.speak(world, client);
    said += client.readToEnd().size();
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - from);
    slowest = std::max(slowest, took);
    EXPECT_TRUE(client.wasClosed());
    if (std::string_view(one.name).ends_with("ALPN")) {
      EXPECT_EQ(client.alert(), 120) << "no application protocol, though the key is right";
    }
    EXPECT_LT(took, 1s);
  }
  world.loop.stop();
  EXPECT_EQ(world.accepted.size(), 1U) << "nobody else was handed over";
  EXPECT_EQ(said, 0U);
  FaultRow("F9") << std::size(cases) << " kinds of strangers: " << world.accepted.size() - 1
                 << " handed over, " << said << " application bytes, closed within " << slowest.count()
                 << " ms";
}

TEST(Strangers, WhoTakesTooLongIsClosed) {
  TlsWorld world(Timing{.tls = std::chrono::milliseconds(60)});
  RawClient idle(world.listener.port());
  const auto from = Clock::now();
  ASSERT_TRUE(world.until([&] { return !world.watchRefused.empty() && world.listener.handshakes() <= 1; }));
  EXPECT_GE(Clock::now() - from, 60ms);
  EXPECT_EQ(world.watchRefused.front().why, Refusal::tooSlow);
  EXPECT_EQ(idle.readToEnd(), "");
  EXPECT_EQ(Timing{}.tls, 5s);
}

TEST(Strangers, APinThatGoesDuringTheHandshakeIsNoPin) {
  TlsWorld world;
  int asked = 0;
  TlsListener careful(world.loop, {}, world.watch,
                      {[&]() -> std::optional<KeyHash> {
                         // There when the certificate is looked at, gone at the end of the handshake.
                         return ++asked == 1 ? std::optional(world.phone.keyHash()) : std::nullopt;
                       },
                       {},
                       [&](const Refused& one) { world.watchRefused.push_back(one); }});
  bool taken = false;
  careful.start([&](SecureStream) { taken = true; });
  const Dial dial = tlsDial(world.loop, world.phone, [&] { return world.phonePin; },
                            {{"127.0.0.1", careful.port()}, {}, {}});
  std::unique_ptr<Stream> stream;
  const auto dialing = dial([&](std::unique_ptr<Stream> made) { stream = std::move(made); });
  ASSERT_TRUE(world.until([&] { return !world.watchRefused.empty(); }));
  EXPECT_EQ(world.watchRefused.front().why, Refusal::notPaired);
  EXPECT_FALSE(taken);
}

/// An identity whose certificate ran out long ago, as a file.
void writeExpired(const std::string& path) {
  char curve[] = "P-256";
  const KeyPtr key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", curve));
  const CertificatePtr certificate(X509_new());
  X509_set_version(certificate.get(), 2);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -2000);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), -1000);
  X509_set_pubkey(certificate.get(), key.get());
  X509_sign(certificate.get(), key.get(), EVP_sha256());
  std::FILE* file = std::fopen(path.c_str(), "w");
  PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  PEM_write_X509(file, certificate.get());
  std::fclose(file);
  std::filesystem::permissions(path,
                               std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(Strangers, AnExpiredCertificateThatIsPinnedConnects) {
  const test::TemporaryFolder folder;
  writeExpired(folder.path("identity.pem"));
  const Identity old = Identity::loadOrCreate(folder.path());
  TlsWorld world;
  world.watchPin = old.keyHash();
  const auto phone = world.dial(old);
  ASSERT_TRUE(phone);
  EXPECT_TRUE(world.until([&] { return world.accepted.size() == 1; }));
}

TEST(Identity, StaysAndStaysPrivate) {
  namespace fs = std::filesystem;
  const test::TemporaryFolder home;
  const std::string folder = home.path("Library/Link");
  const std::string path = folder + "/identity.pem";
  const KeyHash first = Identity::loadOrCreate(folder).keyHash();
  EXPECT_EQ(Identity::loadOrCreate(folder).keyHash(), first);
  EXPECT_NE(Identity::temporary().keyHash(), first);
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  const auto complaint = [&] {
    try {
      Identity::loadOrCreate(folder);
      return std::string();
    } catch (const std::runtime_error& error) {
      return std::string(error.what());
    }
  };
  fs::permissions(path, fs::perms::group_read, fs::perm_options::add);
  EXPECT_EQ(complaint(),
            "others may read " + path + ": remove it and pair again, or make it private (chmod 600)");
  fs::permissions(path, fs::perms::group_read, fs::perm_options::remove);
  std::ofstream(path, std::ios::trunc) << "no key";
  EXPECT_NE(complaint().find("is damaged"), std::string::npos);
  fs::remove(path);
  fs::create_symlink("/etc/hostname", path);
  EXPECT_NE(complaint().find("cannot read"), std::string::npos) << "never through a link";
}

long residentKiB() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// Sockets that say nothing, or a byte now and then, and come back when they are closed.
struct Crowd {
  Crowd(std::uint16_t port, std::size_t count) : sockets(count, -1) {
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    press();
  }
  ~Crowd() {
    for (const int one : sockets) ::close(one);
  }
  /// Every socket that was closed comes again; every second one says a byte.
  void press() {
    for (std::size_t i = 0; i < sockets.size(); ++i) {
      char byte = 0x16;
      if (sockets[i] >= 0 && ::recv(sockets[i], &byte, 1, MSG_DONTWAIT) == 0) {
        ::close(std::exchange(sockets[i], -1));
      }
      if (sockets[i] < 0) {
        sockets[i] = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        ::connect(sockets[i], reinterpret_cast<const sockaddr*>(&address), sizeof address);
        ++connected;
      }
      if (i % 2 == 1) ::send(sockets[i], &byte, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
  }
  sockaddr_in address{};
  std::vector<int> sockets;
  std::size_t connected = 0;
};

TEST(FaultTable, F11ACrowdThatOnlySits) {
  TlsWorld world;
  const long before = residentKiB();
  Crowd crowd(world.listener.port(), 200);
  std::size_t most = 0;
  std::chrono::milliseconds slowest{};
  for (int round = 0; round < 5; ++round) {
    std::unique_ptr<Stream> stream;
    bool done = false;
    const auto from = Clock::now();
    const Dial dial = tlsDial(world.loop, world.phone, [&] { return world.phonePin; },
                              {{"127.0.0.1", world.listener.port()}, {}, {}});
    const auto dialing = dial([&](std::unique_ptr<Stream> made) {
      stream = std::move(made);
      done = true;
    });
    const std::size_t wanted = world.accepted.size() + 1;
    auto pressed = Clock::now();
    ASSERT_TRUE(world.until([&] {
      if (Clock::now() - pressed > 20ms) {
        crowd.press();
        pressed = Clock::now();
      }
      most = std::max(most, world.listener.handshakes());
      return done && world.accepted.size() == wanted;
    }));
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - from);
    slowest = std::max(slowest, took);
    EXPECT_TRUE(stream);
    EXPECT_LT(took, 2s);
  }
  const long grown = residentKiB() - before;
  EXPECT_LE(most, kMostHandshakes);
  if (!kSanitized) {  // they keep what is freed
    EXPECT_LT(grown, 20 * 1024);
  }
  FaultRow("F11") << crowd.sockets.size() << " sockets that came " << crowd.connected
                  << " times: the phone connects within " << slowest.count() << " ms, at most " << most
                  << " in their handshake, memory up by " << grown << " KiB";
}

}  // namespace
}  // namespace tunevale::link
