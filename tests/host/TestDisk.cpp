#include "TestDisk.h"

#include <cerrno>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using tunevale::test::TestDisk;

// In the place of the C library's.
extern "C" int fsync(int file) {
  struct stat status {};
  ::fstat(file, &status);
  if (TestDisk* disk = TestDisk::current) {
    disk->calls += S_ISDIR(status.st_mode) ? "folder " : "file ";
    const std::lock_guard waiting(disk->held);
    errno = S_ISDIR(status.st_mode) ? 0 : disk->refusal.load();
    if (errno != 0) return -1;
  }
  return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int renameat(int oldFolder, const char* oldName, int newFolder, const char* newName) noexcept {
  if (TestDisk* disk = TestDisk::current) disk->calls += "rename ";
  return static_cast<int>(::syscall(SYS_renameat2, oldFolder, oldName, newFolder, newName, 0));
}
