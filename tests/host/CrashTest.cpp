#include <csignal>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/AtomicFile.h"
#include "host/DefaultsFile.h"
#include "host/FileDescriptor.h"
#include "host/PosixFiles.h"
#include "support/CollectingLog.h"
#include "support/TemporaryFolder.h"

// Processes that are killed with SIGKILL while they write.
namespace tunevale::host {
namespace {

std::size_t entriesIn(const std::string& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// Runs `work` in a child that is killed at its n-th entry into or return from the kernel; false when the
// child ended before.
bool killedAtStop(int n, const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::raise(SIGSTOP);
    work();
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  for (int stop = 0; stop < n && WIFSTOPPED(status); ++stop) {
    ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    ::waitpid(child, &status, 0);
  }
  if (WIFEXITED(status)) return false;
  ::kill(child, SIGKILL);
  ::waitpid(child, &status, 0);
  return true;
}

TEST(CrashDuringAtomicWrite, LeavesOldOrNewAtEveryStep) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("top.png");
  const std::string old(5000, 'o'), fresh(9000, 'n');
  int sawOld = 0, sawNew = 0, leftovers = 0;
  for (int stop = 1;; ++stop) {
    ASSERT_FALSE(writeFileAtomically(asBytes(old), path));
    const bool killed = killedAtStop(stop, [&] { writeFileAtomically(asBytes(fresh), path); });
    const auto contents = readFile(path, 10'000);
    ASSERT_TRUE(contents) << "at stop " << stop;
    ASSERT_TRUE(asText(*contents) == old || asText(*contents) == fresh) << "at stop " << stop;
    (asText(*contents) == old ? sawOld : sawNew) += 1;
    leftovers += entriesIn(folder.path()) > 1 ? 1 : 0;
    removeUnfinishedWrites(folder.path());
    ASSERT_EQ(entriesIn(folder.path()), 1U) << "at stop " << stop;
    if (!killed) break;
  }
  EXPECT_GT(sawOld, 5);     // before the rename: open, write, sync
  EXPECT_GT(sawNew, 2);     // after it
  EXPECT_GT(leftovers, 3);  // so the sweep has had something to do
}

// Stores rising numbers, each with a text made of it, and tells through the pipe which are synchronized.
[[noreturn]] void storeForEver(const std::string& path, int acknowledgements) {
  test::CollectingLog log;
  DefaultsFile defaults(path, log);
  const auto first = defaults.objectForKey("number").value_or(PlistValue(0)).integer().value_or(0);
  for (std::int64_t i = first + 1;; ++i) {
    defaults.setObject(PlistValue(std::string(static_cast<std::size_t>(i % 5000), 'x')), "text");
    defaults.setObject(PlistValue(i), "number");
    if (i % 3 != 0) continue;  // else left to the writes that follow changes by themselves
    defaults.synchronize();
    if (::write(acknowledgements, &i, sizeof i) != sizeof i) ::_exit(1);
  }
}

TEST(CrashOfDefaults, LosesNothingSynchronizedAndDamagesNothing) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("defaults.plist");
  std::mt19937 random(20);
  std::int64_t acknowledged = 0;
  for (int round = 0; round < 60; ++round) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const FileDescriptor out(ends[0]);
    FileDescriptor in(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) storeForEver(path, in.get());
    in = FileDescriptor();
    for (unsigned i = random() % 4; i > 0; --i)
      ASSERT_GT(::read(out.get(), &acknowledged, sizeof acknowledged), 0);
    ::usleep(static_cast<useconds_t>(random() % 3000));  // the moment of the kill, not something to wait for
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    while (::read(out.get(), &acknowledged, sizeof acknowledged) == sizeof acknowledged) {
    }

    removeUnfinishedWrites(folder.path());
    test::CollectingLog log;
    DefaultsFile defaults(path, log);
    ASSERT_TRUE(log.lines().empty()) << log.lines().front();
    const auto number = defaults.objectForKey("number").value_or(PlistValue(0)).integer().value();
    ASSERT_GE(number, acknowledged) << "round " << round;
    const auto text = defaults.objectForKey("text").value_or(PlistValue(""));
    const auto length = static_cast<std::int64_t>(text.string().value().size());
    ASSERT_TRUE(length == number % 5000 || length == (number + 1) % 5000) << "round " << round;
  }
  EXPECT_GT(acknowledged, 30);
  EXPECT_EQ(entriesIn(folder.path()), 1U);
}

}  // namespace
}  // namespace tunevale::host
