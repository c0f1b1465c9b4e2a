#pragma once

#include <mutex>

/// A lock whose guarded fields the compiler checks. Clang reads the annotations (-Wthread-safety), GCC skips
/// them; the standard library's own mutex carries none on this platform.
#if defined(__clang__)
#define TUNEVALE_ANNOTATE(x) __attribute__((x))
#else
#define TUNEVALE_ANNOTATE(x)
#endif
#define GUARDED_BY(mutex) TUNEVALE_ANNOTATE(guarded_by(mutex))
#define REQUIRES_LOCK(mutex) TUNEVALE_ANNOTATE(requires_capability(mutex))

namespace tunevale {

class TUNEVALE_ANNOTATE(capability("mutex")) Mutex {
 public:
  void lock() TUNEVALE_ANNOTATE(acquire_capability()) { mutex_.lock(); }
  void unlock() TUNEVALE_ANNOTATE(release_capability()) { mutex_.unlock(); }
  /// For std::condition_variable; the caller must hold this lock.
  std::mutex& native() { return mutex_; }

 private:
  std::mutex mutex_;
};

class TUNEVALE_ANNOTATE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) TUNEVALE_ANNOTATE(acquire_capability(mutex)) : mutex_(mutex) {
    mutex_.lock();
  }
  ~MutexLock() TUNEVALE_ANNOTATE(release_capability()) { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace tunevale
