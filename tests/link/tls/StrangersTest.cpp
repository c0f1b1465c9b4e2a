// Who is not the paired phone: nothing that it says arrives, and nothing is said to it.
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>

#include <boost/asio/ip/tcp.hpp>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "link/FaultRow.h"
#include "link/IdentityKeys.h"
#include "link/tls/TlsWorld.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

using boost::asio::ip::tcp;

tcp::endpoint placeOf(const TlsListener& listener) {
  return {boost::asio::ip::address_v4::loopback(), listener.port()};
}

/// A client that does as the test says, over a blocking socket and the library itself; reads wait two
/// seconds.
class RawClient {
 public:
  explicit RawClient(const TlsListener& listener) {
    std::signal(SIGPIPE, SIG_IGN);  // the library writes to what may have been closed
    socket_.connect(placeOf(listener));
    const timeval limit{2, 0};
    ::setsockopt(socket_.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }

  /// Goes through a handshake, TLS 1.3 with any server, and says something inside; what is wrong with it
  /// `spoil` sets. Returns the alert that ended it; 0 for none.
  int hello(const Identity* identity, std::string_view protocol,
            const std::function<void(SSL_CTX&)>& spoil = {}) {
    context_.reset(SSL_CTX_new(TLS_client_method()));
    if (identity != nullptr) {
      SSL_CTX_use_certificate(context_.get(), identity->keys().certificate.get());
      SSL_CTX_use_PrivateKey(context_.get(), identity->keys().key.get());
    }
    if (spoil) spoil(*context_);
    ssl_.reset(SSL_new(context_.get()));
    SSL_set_fd(ssl_.get(), socket_.native_handle());
    BIO_set_callback_ex(SSL_get_wbio(ssl_.get()), keepWritten);
    BIO_set_callback_arg(SSL_get_wbio(ssl_.get()), reinterpret_cast<char*>(&sent));
    const std::string offer = static_cast<char>(protocol.size()) + std::string(protocol);
    if (!protocol.empty()) {
      SSL_set_alpn_protos(ssl_.get(), reinterpret_cast<const unsigned char*>(offer.data()),
                          static_cast<unsigned>(offer.size()));
    }
    ERR_clear_error();
    if (SSL_connect(ssl_.get()) == 1) SSL_write(ssl_.get(), "an application's words", 22);
    return std::max(0, ERR_GET_REASON(ERR_peek_last_error()) - SSL_AD_REASON_OFFSET);
  }
  void sendPlain(std::string_view bytes) {
    ::send(socket_.native_handle(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  /// Reads until the other end closes: how often something came inside TLS; nothing when it does not close.
  std::optional<std::size_t> readToEnd() {
    std::array<char, 4096> bytes{};
    std::size_t said = 0;
    while (ssl_ && SSL_read(ssl_.get(), bytes.data(), 4096) > 0) ++said;
    ssize_t size = 0;
    while ((size = ::recv(socket_.native_handle(), bytes.data(), bytes.size(), 0)) > 0) continue;
    return size == 0 || errno != EAGAIN ? std::optional(said) : std::nullopt;
  }

  std::string sent;  // all bytes of the handshake and after, as they went over the socket

 private:
  static long keepWritten(BIO* bio, int what, const char* bytes, std::size_t, int, long, int result,
                          std::size_t* done) {
    if (what == (BIO_CB_WRITE | BIO_CB_RETURN) && result > 0) {
      reinterpret_cast<std::string*>(BIO_get_callback_arg(bio))->append(bytes, *done);
    }
    return result;
  }

  boost::asio::io_context io_;
  tcp::socket socket_{io_};
  std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>> context_;
  std::unique_ptr<SSL, FreeWith<SSL_free>> ssl_;
};

/// Turns the world while a client that blocks does its part; what that returned.
template <class Talk>
auto turned(TlsWorld& world, Talk talk) {
  auto result = std::async(std::launch::async, talk);
  world.until([&] { return result.wait_for(0s) == std::future_status::ready; });
  return result.get();
}

TEST(FaultTable, F9NobodyButThePairedPhone) {
  TlsWorld world;
  const Identity stranger = Identity::temporary();
  const std::string_view session = kSessionProtocol;
  const auto speaks = [](const Identity* identity, std::string_view protocol,
                         std::function<void(SSL_CTX&)> spoil = {}) {
    return [=](RawClient& client) { return client.hello(identity, protocol, spoil); };
  };
  const auto says = [](const std::string& bytes) {
    return [=](RawClient& client) { return client.sendPlain(bytes), 0; };
  };
  const auto tls12 = [](SSL_CTX& context) { SSL_CTX_set_max_proto_version(&context, TLS1_2_VERSION); };
  const auto chain = [&](SSL_CTX& context) {
    SSL_CTX_add_extra_chain_cert(&context, X509_dup(stranger.keys().certificate.get()));
  };
  X509* const expired = world.phone.keys().certificate.get();
  X509_gmtime_adj(X509_getm_notAfter(expired), -1000);
  ASSERT_GT(X509_sign(expired, world.phone.keys().key.get(), EVP_sha256()), 0);
  const std::string recorded = turned(world, [&] {
    RawClient client(world.listener);
    EXPECT_EQ(client.hello(&world.phone, session), 0);
    return client.sent;
  });
  ASSERT_TRUE(world.until([&] { return world.accepted.size() == 1; }))
      << "the pinned key counts, and nothing else";
  ASSERT_GT(recorded.size(), 500U);
  struct Case {
    const char* name;
    std::function<int(RawClient&)> speak;
  };
  const Case cases[] = {
      {"wrong key", speaks(&stranger, session)},
      {"no certificate", speaks(nullptr, session)},
      {"TLS 1.2", speaks(&world.phone, session, tls12)},
      {"wrong ALPN", speaks(&world.phone, "http/1.1")},
      {"no ALPN", speaks(&world.phone, "")},
      {"pairing while it is closed", speaks(&stranger, kPairingProtocol)},
      {"plain text", says("GET / HTTP/1.1\r\nHost: a\r\n\r\n")},
      {"a plain frame", says(std::string("\0\0\0\0\4\1\0\0\0\0\0\0\0\0\0\0", 16))},
      {"replayed bytes", says(recorded)},
      {"the watch's own key", speaks(&world.watch, session)},
      {"a chain of two certificates", speaks(&world.phone, session, chain)},
      // The head of a first message of 64 KiB, and as much of it as is taken.
      {"more than 8 KiB of handshake",
       says(std::string("\x16\x03\x01\x40\x00\x01\x00\xff\xff", 9) + std::string(20'000, 'x'))},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    const auto from = Clock::now();
    const auto [alert, said] = turned(world, [&] {
      RawClient client(world.listener);
      const int ended = one.speak(client);
      return std::pair(ended, client.readToEnd());
    });
    EXPECT_LT(Clock::now() - from, 1s);
    EXPECT_EQ(said, 0U) << "it was closed, without a byte";
    if (std::string_view(one.name).ends_with("ALPN")) {
      EXPECT_EQ(alert, 120) << "no application protocol, though the key is right";
    }
  }
  EXPECT_EQ(world.accepted.size(), 1U) << "nobody else was handed over";
  FaultRow("F9") << std::size(cases) << " kinds of strangers: " << world.accepted.size() - 1
                 << " handed over";
}

TEST(Strangers, WhoTakesTooLongIsClosed) {
  TlsWorld world(Timing{.tls = std::chrono::milliseconds(60)});
  RawClient idle(world.listener);
  const auto from = Clock::now();
  ASSERT_TRUE(world.until([&] { return !world.watchRefused.empty() && world.listener.handshakes() <= 1; }));
  EXPECT_GE(Clock::now() - from, 60ms);
  EXPECT_EQ(world.watchRefused.front().why, Refusal::tooSlow);
  EXPECT_EQ(idle.readToEnd(), 0U);
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
  const auto complaint = [&]() -> std::string {
    try {
      return Identity::loadOrCreate(folder), "none";
    } catch (const std::runtime_error& error) {
      return error.what();
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
  long total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

/// Sockets that say nothing, or a byte now and then, and come back when they are closed.
struct Crowd {
  /// Every socket that was closed comes again; every second one says a byte.
  void press() {
    for (std::size_t i = 0; i < sockets.size(); ++i) {
      tcp::socket& one = sockets[i];
      char byte = 0x16;
      boost::system::error_code error;
      if (one.is_open() && one.read_some(boost::asio::buffer(&byte, 1), error) == 0 &&
          error != boost::asio::error::would_block) {
        one.close();
      }
      if (!one.is_open()) {
        one.connect(place);
        one.non_blocking(true);
        ++connected;
      }
      if (i % 2 == 1) one.write_some(boost::asio::buffer(&byte, 1), error);
    }
  }
  const tcp::endpoint place;
  std::vector<tcp::socket> sockets;
  std::size_t connected = 0;
};

TEST(FaultTable, F11ACrowdThatOnlySits) {
  TlsWorld world;
  const long before = residentKiB();
  Crowd crowd{placeOf(world.listener), {}};
  for (int i = 0; i < 200; ++i) crowd.sockets.emplace_back(world.loop.context());
  std::size_t most = 0;
  for (std::size_t round = 1; round <= 5; ++round) {
    const auto from = Clock::now();
    Clock::time_point pressed{};
    const auto phone = world.dial(world.phone, [&] {
      if (Clock::now() - pressed > 20ms) {
        crowd.press();
        pressed = Clock::now();
      }
      most = std::max(most, world.listener.handshakes());
    });
    ASSERT_TRUE(phone && world.until([&] { return world.accepted.size() == round; }));
    EXPECT_LT(Clock::now() - from, 2s);
  }
  const long grown = residentKiB() - before;
  EXPECT_LE(most, kMostHandshakes);
  if (!kSanitized) {  // they keep what is freed
    EXPECT_LT(grown, 20 * 1024);
  }
  FaultRow("F11") << crowd.sockets.size() << " sockets that came " << crowd.connected
                  << " times: the phone connects, at most " << most << " in their handshake, memory up by "
                  << grown << " KiB";
}

}  // namespace
}  // namespace tunevale::link
