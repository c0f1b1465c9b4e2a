#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/AtomicFile.h"
#include "host/PosixFiles.h"
#include "support/TemporaryFolder.h"

// A process that is killed with SIGKILL while it writes.
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

}  // namespace
}  // namespace tunevale::host
