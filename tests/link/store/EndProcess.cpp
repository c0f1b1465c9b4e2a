#include "link/store/EndProcess.h"

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/wait.h>
#include <unistd.h>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "link/TlsDial.h"
#include "link/TlsListener.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;

class CrashStore : public SqliteStore {
 public:
  CrashStore(const EndPlan& plan, const Epoch& fresh)
      : SqliteStore({plan.folder + "/link.sqlite", ""}, fresh), plan_(plan) {}
  void passes(CrashPoint point) override {
    const int times = ++passed[static_cast<std::size_t>(point)];
    if (plan_.point == point && times == plan_.passes) ::raise(SIGKILL);
  }
  std::array<std::atomic<int>, kCrashPointNames.size()> passed{};

 private:
  const EndPlan plan_;
};

struct End {
  End(const EndPlan& what, int reports)
      : plan(what),
        report(reports),
        effectsFile(::open((plan.folder + "/effects").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600)),
        app(effectsIn(plan.folder), [this](const std::string& effect) { note(effect); }),
        store(plan, epoch()),
        session(
            std::in_place, loop, store,
            SessionOptions{.role = plan.role, .spoolFolder = plan.folder + "/spool", .timing = timing()}, app,
            [this](Block block) { delivery.post(std::move(block)); },
            [this](Block block) { loop.post(std::move(block)); }) {}

  static Timing timing() {
    Timing timing;
    timing.firstReconnect = 20ms;
    timing.lastReconnect = 50ms;
    return timing;
  }
  Epoch epoch() {
    Epoch epoch{};
    for (std::byte& byte : epoch) byte = static_cast<std::byte>(loop.random());
    return epoch;
  }
  void note(const std::string& effect) {
    const std::string line = effect + "\n";
    if (::write(effectsFile, line.data(), line.size()) != static_cast<ssize_t>(line.size())) std::abort();
    count(effect);
  }
  /// Only the last of the contexts comes for sure.
  void count(const std::string& effect) {
    if (!effect.starts_with("context")) ++effects;
  }

  [[noreturn]] void run() {
    for (const std::string& effect : app.effects()) count(effect);
    session->activate();
    loop.post([this] { begin(); });
    delivery.start();
    loop.run();
    std::abort();
  }
  void begin() {
    const Endpoint address{"127.0.0.1", plan.port};
    const PinSource pin = [this] { return std::optional(plan.peer); };
    if (plan.role == Role::watch) {
      listener.emplace(loop, address, plan.identity, TlsListener::Rules{.pin = pin, .timing = timing()});
      listener->start([this](SecureStream stream) { session->adopt(std::move(stream.stream), false); });
    } else {
      connector.emplace(loop, *session, tlsDial(loop, plan.identity, pin, {address, timing(), {}}), timing());
      connector->start();
    }
    tick();
  }
  /// Queues what is not queued yet, and looks whether all is done.
  void tick() {
    if (plan.paced) {
      queueNext(++turn % 3);
    } else {
      for (int n = 0; n < plan.count; ++n) {
        for (const int kind : {0, 1, 2}) queueNext(kind);
      }
    }
    if (isDone()) sayDone();
    timer = loop.after(1ms, [this] { tick(); });
  }
  void queueNext(int kind) {
    const auto next = static_cast<std::int64_t>(store.nextNumber(Queue::items));
    const auto nextFile = static_cast<std::int64_t>(store.nextNumber(Queue::files));
    const auto nextContext = static_cast<std::int64_t>(store.contextVersion()) + 1;
    if (kind == 0 && next <= plan.count) session->transferUserInfo({{"n", next}});
    if (kind == 1 && nextFile <= plan.count) {
      const std::string path = plan.folder + "/outgoing";
      std::ofstream(path, std::ios::binary | std::ios::trunc) << contentsOfFile(nextFile);
      session->transferFile(path, {{"n", nextFile}});
    }
    if (kind == 2 && nextContext <= plan.count) session->updateApplicationContext({{"n", nextContext}});
  }
  bool isDone() {
    return store.nextNumber(Queue::items) > static_cast<std::uint64_t>(plan.count) &&
           !store.firstFrom(Queue::items, 1) && !store.firstFrom(Queue::files, 1) &&
           effects >= 2 * plan.count && store.cursor().context >= static_cast<std::uint64_t>(plan.count) &&
           !store.receivedContext() && store.received(Queue::items).empty() &&
           store.received(Queue::files).empty();
  }
  void sayDone() {
    if (std::exchange(saidDone, true)) return;
    std::ofstream passes(plan.folder + "/passes");
    for (const auto& count : store.passed) passes << count << "\n";
    passes.close();
    if (::write(report, "D", 1) != 1) std::abort();
  }

  const EndPlan plan;
  const int report;
  const int effectsFile;
  std::atomic<int> effects = 0;
  bool saidDone = false;
  int turn = 0;
  LinkLoop loop{"end"};
  LinkLoop delivery{"delivery"};
  QueueApp app;
  CrashStore store;
  std::optional<Session> session;
  std::optional<TlsListener> listener;
  std::optional<Connector> connector;
  std::unique_ptr<Timer> timer;
};

}  // namespace

EndProcess::EndProcess(const EndPlan& plan) {
  std::filesystem::create_directories(plan.folder);
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) throw std::runtime_error("no pipe");
  process_ = ::fork();
  if (process_ == 0) {
    try {
      End(plan, ends[1]).run();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "an end failed: %s\n", error.what());
      ::_exit(3);
    }
  }
  ::close(ends[1]);
  reports_ = ends[0];
}

EndProcess::~EndProcess() {
  kill();
  ::close(reports_);
}

bool EndProcess::isDone() {
  char said = 0;
  if (::read(reports_, &said, 1) == 1) done_ = true;
  return done_;
}

bool EndProcess::isDead() {
  if (process_ < 0) return true;
  int status = 0;
  if (::waitpid(process_, &status, WNOHANG) == 0) return false;
  process_ = -1;
  if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) throw std::runtime_error("an end failed");
  return true;
}

void EndProcess::kill() {
  if (process_ < 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  process_ = -1;
}

std::vector<std::string> effectsIn(const std::string& folder) {
  std::vector<std::string> effects;
  std::ifstream file(folder + "/effects");
  for (std::string line; std::getline(file, line);) effects.push_back(line);
  return effects;
}

std::vector<int> passesIn(const std::string& folder) {
  std::vector<int> passes;
  std::ifstream file(folder + "/passes");
  for (int count = 0; file >> count;) passes.push_back(count);
  return passes;
}

std::uint16_t unusedPort() {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  const bool bound = ::bind(listener, raw, size) == 0 && ::getsockname(listener, raw, &size) == 0;
  ::close(listener);
  if (!bound) throw std::runtime_error("no port");
  return ntohs(address.sin_port);
}

}  // namespace tunevale::link
