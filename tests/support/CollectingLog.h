#pragma once

#include <string>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/Log.h"

namespace tunevale::test {

/// Keeps the lines as they were written, unescaped. Any thread.
class CollectingLog : public Log {
 public:
  void write(std::string_view line) override {
    const MutexLock lock(mutex_);
    lines_.emplace_back(line);
  }
  std::vector<std::string> lines() const {
    const MutexLock lock(mutex_);
    return lines_;
  }
  void clear() {
    const MutexLock lock(mutex_);
    lines_.clear();
  }

 private:
  mutable Mutex mutex_;
  std::vector<std::string> lines_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::test
