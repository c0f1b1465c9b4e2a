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
  TestDisk* disk = TestDisk::current;
  errno = disk == nullptr ? 0 : disk->note(S_ISDIR(status.st_mode) ? "folder" : "file");
  return errno != 0 ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int renameat(int oldFolder, const char* oldName, int newFolder, const char* newName) noexcept {
  if (TestDisk* disk = TestDisk::current) disk->note("rename");
  return static_cast<int>(::syscall(SYS_renameat2, oldFolder, oldName, newFolder, newName, 0));
}
