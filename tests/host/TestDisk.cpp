#include "TestDisk.h"

#include <atomic>
#include <cerrno>
#include <string_view>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tunevale::test {

namespace {

std::atomic<TestDisk*> theDisk = nullptr;

}  // namespace

TestDisk::TestDisk() {
  theDisk = this;
}

TestDisk::~TestDisk() {
  theDisk = nullptr;
}

std::string TestDisk::calls() {
  const MutexLock lock(mutex_);
  return calls_;
}

void TestDisk::refuse(int errorNumber) {
  const MutexLock lock(mutex_);
  errorNumber_ = errorNumber;
}

void TestDisk::hold(bool held) {
  {
    const MutexLock lock(mutex_);
    held_ = held;
  }
  released_.notify_all();
}

int TestDisk::note(const char* call) {
  const MutexLock lock(mutex_);
  calls_.append(call).append(" ");
  if (std::string_view(call) != "file") return 0;
  while (held_) released_.wait(mutex_);
  return errorNumber_;
}

}  // namespace tunevale::test

// In the place of the C library's.
extern "C" int fsync(int file) {
  struct stat status {};
  ::fstat(file, &status);
  tunevale::test::TestDisk* disk = tunevale::test::theDisk;
  if (const int error = disk == nullptr ? 0 : disk->note(S_ISDIR(status.st_mode) ? "folder" : "file")) {
    errno = error;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int renameat(int oldFolder, const char* oldName, int newFolder, const char* newName) noexcept {
  if (tunevale::test::TestDisk* disk = tunevale::test::theDisk) disk->note("rename");
  return static_cast<int>(::syscall(SYS_renameat2, oldFolder, oldName, newFolder, newName, 0));
}
