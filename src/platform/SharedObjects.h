#pragma once

#include <map>
#include <memory>
#include <typeindex>

#include "foundation/Mutex.h"

namespace tunevale {

/// The objects of which a process has one, made at first use and kept until the platform goes. A test that
/// builds a fresh platform thereby gets fresh ones.
class SharedObjects {
 public:
  /// The one T; `make` (returning std::unique_ptr<T>) runs at the first call only, while later first calls
  /// wait. It must not ask for a shared object itself. Any thread.
  template <class T, class Make>
  T& get(Make make) {
    const MutexLock lock(mutex_);
    auto& slot = objects_[std::type_index(typeid(T))];
    if (!slot) slot = std::shared_ptr<T>(make());
    return *static_cast<T*>(slot.get());
  }

 private:
  Mutex mutex_;
  std::map<std::type_index, std::shared_ptr<void>> objects_ GUARDED_BY(mutex_);
};

}  // namespace tunevale
