// The link beside a bare TLS echo of the same library, in one run: how often a message and its reply go to
// and fro, and how fast a file gets across, into a store on disk. Each figure is the median of several
// connections, since a connection takes 400 frames at once and then 200 a second, on purpose.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/MemoryStore.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "link/TlsContext.h"
#include "link/TlsDial.h"
#include "link/TlsListener.h"

namespace tunevale::link {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kConnections = 15;
constexpr int kRoundTrips = 300;
constexpr std::size_t kPing = 110;  // about what a small message takes in its frame
constexpr std::size_t kFile = 15 * 1024 * 1024;

double seconds(Clock::time_point from) {
  return std::chrono::duration<double>(Clock::now() - from).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// A file on disk and its hash; without a path, nothing.
struct DiskCopy {
  explicit DiskCopy(const std::string& path)
      : file(path.empty() ? -1 : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600)) {}
  void add(const std::array<char, kFileChunk>& bytes) {
    if (file < 0) return;
    hash.add(asBytes({bytes.data(), bytes.size()}));
    if (::write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      throw std::runtime_error("the disk is full");
    }
  }
  void finish() {
    if (file < 0) return;
    hash.finish();
    ::fdatasync(file);
    ::close(file);
  }
  const int file;
  Sha256 hash;
};

/// Two blocking ends of a bare TLS connection, in a thread each.
struct Bare {
  using SslPtr = std::unique_ptr<SSL, FreeWith<SSL_free>>;
  static int verify(X509_STORE_CTX*, void*) { return 1; }

  Bare() {
    const int listening = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listening, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listening, 1);
    ::getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size);
    sockets[1] = ::socket(AF_INET, SOCK_STREAM, 0);
    ::connect(sockets[1], reinterpret_cast<sockaddr*>(&address), size);
    sockets[0] = ::accept(listening, nullptr, nullptr);
    ::close(listening);
    for (std::size_t i = 0; i < 2; ++i) {
      const int on = 1;
      ::setsockopt(sockets[i], IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      contexts[i] = makeTlsContext(identity, i == 0 ? TlsSide::server : TlsSide::client);
      SSL_CTX_set_cert_verify_callback(contexts[i].get(), verify, nullptr);
      ends[i].reset(SSL_new(contexts[i].get()));
      SSL_set_fd(ends[i].get(), sockets[i]);
    }
    std::thread server([this] { SSL_accept(ends[0].get()); });
    SSL_connect(ends[1].get());
    server.join();
  }
  ~Bare() {
    for (const int one : sockets) ::close(one);
  }

  void write(std::size_t end, std::size_t size) {
    SSL_write(ends[end].get(), buffers[end].data(), static_cast<int>(size));
  }
  void read(std::size_t end, std::size_t size) {
    while (size > 0) {
      const int most = static_cast<int>(std::min(size, buffers[end].size()));
      const int got = SSL_read(ends[end].get(), buffers[end].data(), most);
      if (got <= 0) throw std::runtime_error("the bare connection broke");
      size -= static_cast<std::size_t>(got);
    }
  }
  double roundTripsPerSecond() {
    std::thread echo([this] {
      for (int i = 0; i < kRoundTrips; ++i) {
        read(0, kPing);
        write(0, kPing);
      }
    });
    const auto from = Clock::now();
    for (int i = 0; i < kRoundTrips; ++i) {
      write(1, kPing);
      read(1, kPing);
    }
    const double took = seconds(from);
    echo.join();
    return kRoundTrips / took;
  }
  /// Of a file that is in memory at both ends; with a folder, of one that each end copies there, hashes and
  /// syncs, as the link does.
  double megabytesPerSecond(const std::string& file, const std::string& folder = {}) {
    std::thread sink([&] {
      DiskCopy copy(folder.empty() ? "" : folder + "/in");
      for (std::size_t got = 0; got < kFile; got += kFileChunk) {
        read(0, kFileChunk);
        copy.add(buffers[0]);
      }
      copy.finish();
      write(0, 1);
    });
    const auto from = Clock::now();
    if (!folder.empty()) {
      DiskCopy copy(folder + "/out");
      std::ifstream in(file, std::ios::binary);
      while (in.read(buffers[1].data(), static_cast<std::streamsize>(kFileChunk))) copy.add(buffers[1]);
      copy.finish();
    }
    std::ifstream in(folder.empty() ? file : folder + "/out", std::ios::binary);
    for (std::size_t sent = 0; sent < kFile; sent += kFileChunk) {
      if (!folder.empty()) in.read(buffers[1].data(), static_cast<std::streamsize>(kFileChunk));
      write(1, kFileChunk);
    }
    read(1, 1);
    const double took = seconds(from);
    sink.join();
    return static_cast<double>(kFile) / 1e6 / took;
  }

  const Identity identity = Identity::temporary();
  std::array<int, 2> sockets{};
  std::array<TlsContextPtr, 2> contexts;
  std::array<SslPtr, 2> ends;
  std::array<std::array<char, kFileChunk>, 2> buffers{};
};

struct Ear : SessionDelegate {
  void sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) override {
    reply(message);
  }
  void sessionDidReceiveFile(const std::string&, const PlistDictionary&) override { received.set_value(); }
  void sessionStateDidChange(const LinkState& state) override {
    if (state.reachable && !std::exchange(isReachable, true)) reachable.set_value();
  }
  std::promise<void> reachable;
  std::promise<void> received;
  bool isReachable = false;
};

/// One end as the programs have it: a thread, a key, a store on disk.
struct End {
  End(const std::string& folder, Role role) : store({folder + "/link.db", ""}, newEpoch(loop)) {
    SessionOptions options;
    options.role = role;
    options.spoolFolder = folder + "/spool";
    const auto turn = [this](Block block) { loop.post(std::move(block)); };
    session.emplace(loop, store, options, ear, turn, turn);
    session->activate();
  }
  LinkLoop loop{"bench"};
  const Identity identity = Identity::temporary();
  SqliteStore store;
  Ear ear;
  std::optional<Session> session;
};

struct Linked {
  explicit Linked(const std::string& folder)
      : watch(folder + "/watch", Role::watch), phone(folder + "/phone", Role::phone) {
    watch.store.setPin(phone.identity.keyHash());
    phone.store.setPin(watch.identity.keyHash());
    TlsListener::Rules rules;
    rules.pin = [this] { return watch.store.pin(); };
    listener.emplace(watch.loop, Endpoint{}, watch.identity, rules);
    listener->start([this](SecureStream stream) { watch.session->adopt(std::move(stream.stream), false); });
    connector.emplace(phone.loop, *phone.session,
                      tlsDial(phone.loop, phone.identity, [this] { return phone.store.pin(); },
                              {{"127.0.0.1", listener->port()}, {}, {}}),
                      Timing{});
    connector->start();
    watch.loop.start();
    phone.loop.start();
    phone.ear.reachable.get_future().get();
  }
  ~Linked() {
    phone.loop.stop();
    watch.loop.stop();
  }
  double roundTripsPerSecond() {
    std::promise<void> done;
    int left = kRoundTrips;
    std::function<void()> next = [&] {
      if (left-- == 0) return done.set_value();
      phone.session->sendMessage(
          {{"n", left}}, [&](const PlistDictionary&) { next(); },
          [&](const Error& error) { throw std::runtime_error(error.description); });
    };
    const auto from = Clock::now();
    phone.loop.post(next);
    done.get_future().get();
    return kRoundTrips / seconds(from);
  }
  double megabytesPerSecond(const std::string& path) {
    const auto from = Clock::now();
    phone.session->transferFile(path, {});
    watch.ear.received.get_future().get();
    return static_cast<double>(kFile) / 1e6 / seconds(from);
  }
  End watch;
  End phone;
  std::optional<TlsListener> listener;
  std::optional<Connector> connector;
};

int run() {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("tunevale-bench-link-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  const std::string file = folder / "file";
  std::ofstream(file, std::ios::binary) << std::string(kFile, 'x');
  std::vector<double> bareTrips, bareBytes, bareFiles, linkTrips, linkFiles;
  for (int i = 0; i < kConnections; ++i) {
    bareTrips.push_back(Bare().roundTripsPerSecond());
    bareBytes.push_back(Bare().megabytesPerSecond(file));
    bareFiles.push_back(Bare().megabytesPerSecond(file, folder));
    for (const bool trips : {true, false}) {
      for (const char* end : {"watch", "phone"}) {
        fs::remove_all(folder / end);
        fs::create_directories(folder / end / "spool");
      }
      Linked link(folder);
      if (trips) {
        linkTrips.push_back(link.roundTripsPerSecond());
      } else {
        linkFiles.push_back(link.megabytesPerSecond(file));
      }
    }
  }
  fs::remove_all(folder);
  const auto row = [](const char* what, const std::vector<double>& bare, const std::vector<double>& link) {
    std::printf("%-28s %10.0f %10.0f %9.2f\n", what, median(bare), median(link), median(link) / median(bare));
  };
  std::printf("%-28s %10s %10s %9s\n", "", "bare TLS", "link", "ratio");
  row("round trips per second", bareTrips, linkTrips);
  row("file, MB/s, to bytes alone", bareBytes, linkFiles);
  row("file, MB/s, to kept files", bareFiles, linkFiles);
  return 0;
}

}  // namespace
}  // namespace tunevale::link

int main() {
  return tunevale::link::run();
}
