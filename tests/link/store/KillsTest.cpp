// Both ends, each in a process of its own, are killed at any moment, and nothing is lost and nothing is
// twice.
#include <csignal>
#include <filesystem>
#include <numeric>
#include <random>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "link/FaultRow.h"
#include "link/faults/TlsEnd.h"
#include "link/store/QueueApp.h"
#include "support/TemporaryFolder.h"

namespace tunevale::link {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::vector<std::string> effectsIn(const std::string& folder) {
  std::vector<std::string> effects;
  std::ifstream file(folder + "/effects");
  for (std::string line; std::getline(file, line);) effects.push_back(line);
  return effects;
}

/// What one end does in a process of its own: talks to the other, both queueing `count` of each kind, until
/// it is killed.
struct EndPlan {
  Role role = Role::watch;
  std::string folder;
  Identity identity;
  KeyHash peer;
  std::uint16_t port = 0;
  int count = 0;
};

struct End {
  explicit End(const EndPlan& what)
      : plan(what),
        effectsFile(::open((plan.folder + "/effects").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600)),
        app([this](const std::string& effect) { note(effect); }, effectsIn(plan.folder)),
        end(plan.role, plan.folder, plan.identity, TlsEnd::hasty(), app,
            [this](Block block) { delivery.post(std::move(block)); }) {}

  void note(const std::string& effect) {
    const std::string line = effect + "\n";
    if (::write(effectsFile, line.data(), line.size()) != static_cast<ssize_t>(line.size())) std::abort();
  }
  [[noreturn]] void run() {
    end.meet(plan.peer, plan.port);
    tick();
    delivery.start();
    end.loop.run();
    std::abort();
  }
  /// Queues the next thing that is not queued yet.
  void tick() {
    const auto next = static_cast<std::int64_t>(end.store.nextNumber(Queue::items));
    const auto nextFile = static_cast<std::int64_t>(end.store.nextNumber(Queue::files));
    const auto nextContext = static_cast<std::int64_t>(end.store.contextVersion()) + 1;
    const int kind = ++turn % 3;
    if (kind == 0 && next <= plan.count) end.session->transferUserInfo({{"n", next}});
    if (kind == 1 && nextFile <= plan.count) {
      const std::string path = plan.folder + "/outgoing";
      std::ofstream(path, std::ios::binary) << contentsOfFile(nextFile);
      end.session->transferFile(path, {{"n", nextFile}});
    }
    if (kind == 2 && nextContext <= plan.count) end.session->updateApplicationContext({{"n", nextContext}});
    timer = end.loop.after(1ms, [this] { tick(); });
  }
  const EndPlan plan;
  const int effectsFile;
  int turn = 0;
  LinkLoop delivery{"delivery"};
  QueueApp app;
  TlsEnd end;
  std::unique_ptr<Timer> timer;
};

/// Two ends of which either can be killed and started again.
struct Pair {
  Pair() {
    const Identity watch = Identity::temporary(), phone = Identity::temporary();
    const std::uint16_t port = unusedPort();
    plans.push_back({Role::watch, folder.path("watch"), watch, phone.keyHash(), port});
    plans.push_back({Role::phone, folder.path("phone"), phone, watch.keyHash(), port});
  }
  ~Pair() {
    for (const std::size_t i : {0U, 1U}) kill(i);
  }
  /// Of those that nobody is given by chance while the watch is dead.
  static std::uint16_t unusedPort() {
    LinkLoop loop("port");
    std::random_device dice;
    for (;;) {
      const Endpoint address{"127.0.0.1", static_cast<std::uint16_t>(20'000 + dice() % 12'000)};
      try {
        return TlsListener(loop, address, Identity::temporary(), {}).port();
      } catch (const std::runtime_error&) {
      }
    }
  }
  void restart(std::size_t i, int more = 0) {
    kill(i);
    plans[i].count += more;
    std::filesystem::create_directories(plans[i].folder);
    processes[i] = ::fork();
    if (processes[i] != 0) return;
    try {
      End(plans[i]).run();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "an end failed: %s\n", error.what());
      ::_exit(3);
    }
  }
  void kill(std::size_t i) {
    const pid_t process = std::exchange(processes[i], 0);
    if (process <= 0) return;
    ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "an end died by itself";
  }
  /// What is wrong with what the ends have got and kept; empty once all has come and nothing waits.
  std::string complaints() {
    for (const EndPlan& plan : plans) {
      std::vector<std::int64_t> all(static_cast<std::size_t>(plan.count));
      std::iota(all.begin(), all.end(), 1);
      const std::string wrong = complaint(effectsIn(plan.folder), {all, all, plan.count});
      if (!wrong.empty()) return wrong;
      if (!std::filesystem::is_empty(plan.folder + "/spool")) return "a file is left";
    }
    return "";
  }
  /// The last of them, when they do not end.
  std::string awaited() {
    const auto limit = Clock::now() + 60s;
    std::string wrong;
    while (!(wrong = complaints()).empty() && Clock::now() < limit) std::this_thread::sleep_for(5ms);
    return wrong;
  }

  test::TemporaryFolder folder;
  std::vector<EndPlan> plans;
  pid_t processes[2] = {};
};

TEST(FaultTable, F2KilledAtRandom) {
  const int kills = faultCount(kSanitized ? 40 : 200, 20);
  std::mt19937 dice(7);
  Pair pair;
  for (const std::size_t i : {0U, 1U}) pair.restart(i, kills * 2);
  for (int i = 0; i < kills; ++i) {
    std::this_thread::sleep_for(std::chrono::microseconds(10'000 + dice() % 40'000));
    pair.restart(dice() % 2);
  }
  std::string wrong = pair.awaited();
  // And more, to drain after both died. A machine that is busy elsewhere is not the link's fault, but one of
  // three times it must be quick.
  auto quickest = Clock::duration::max();
  for (int i = 0; i < 3 && wrong.empty() && quickest > 2s; ++i) {
    const auto restarted = Clock::now();
    for (const std::size_t end : {0U, 1U}) pair.restart(end, 33);
    wrong = pair.awaited();
    quickest = std::min(quickest, Clock::now() - restarted);
  }
  for (const std::size_t i : {0U, 1U}) pair.kill(i);
  if (wrong.empty()) wrong = pair.complaints();
  FaultRow("F2") << kills << " kills, " << pair.plans[0].count << " of each kind both ways, "
                 << (wrong.empty() ? "none lost, none twice" : wrong) << ", drained within "
                 << std::chrono::duration<double>(quickest).count() << " s";
  EXPECT_EQ(wrong, "");
  EXPECT_LE(quickest, faultCount(1, 0) == 1 && !kSanitized ? 2s : 10s);
}

}  // namespace
}  // namespace tunevale::link
