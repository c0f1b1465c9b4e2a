#pragma once

#include <atomic>
#include <condition_variable>
#include <string>

#include "foundation/Mutex.h"

namespace tunevale::test {

/// The disk under this program's files while the object lives: it tells what was done in which order, can
/// refuse to sync, and can keep a sync waiting. One at a time. Any thread.
class TestDisk {
 public:
  TestDisk() { current = this; }
  ~TestDisk() { current = nullptr; }

  /// "file", "rename" or "folder" for each sync and rename so far, with a space after each.
  std::string calls() {
    const MutexLock lock(mutex_);
    return calls_;
  }
  /// From now on a file's sync fails with that errno; with 0 it succeeds again.
  void refuse(int errorNumber) {
    const MutexLock lock(mutex_);
    errorNumber_ = errorNumber;
  }
  /// From now on a file's sync waits until it is held no more.
  void hold(bool held) {
    {
      const MutexLock lock(mutex_);
      held_ = held;
    }
    released_.notify_all();
  }

  /// What fsync() and renameat() of this program tell it; an errno, or 0.
  int note(const std::string& call) {
    const MutexLock lock(mutex_);
    calls_ += call + " ";
    if (call != "file") return 0;
    while (held_) released_.wait(mutex_);
    return errorNumber_;
  }
  static inline std::atomic<TestDisk*> current = nullptr;

 private:
  Mutex mutex_;
  std::condition_variable_any released_;
  std::string calls_ GUARDED_BY(mutex_);
  int errorNumber_ GUARDED_BY(mutex_) = 0;
  bool held_ GUARDED_BY(mutex_) = false;
};

}  // namespace tunevale::test
