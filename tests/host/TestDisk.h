#pragma once

#include <condition_variable>
#include <string>

#include "foundation/Mutex.h"

namespace tunevale::test {

/// The disk under this program's files while the object lives: it tells what was done in which order, can
/// refuse to sync, and can keep a sync waiting. One at a time. Any thread.
class TestDisk {
 public:
  TestDisk();
  ~TestDisk();

  /// "file", "rename" or "folder" for each sync and rename so far, with a space after each.
  std::string calls();
  /// From now on a file's sync fails with that errno; with 0 it succeeds again.
  void refuse(int errorNumber);
  /// From now on a file's sync waits until it is held no more.
  void hold(bool held);

  /// What fsync() and renameat() of this program tell it; an errno, or 0.
  int note(const char* call);

 private:
  Mutex mutex_;
  std::condition_variable_any released_;
  std::string calls_ GUARDED_BY(mutex_);
  int errorNumber_ GUARDED_BY(mutex_) = 0;
  bool held_ GUARDED_BY(mutex_) = false;
};

}  // namespace tunevale::test
