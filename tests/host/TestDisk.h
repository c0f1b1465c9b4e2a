#pragma once

#include <atomic>
#include <mutex>
#include <string>

namespace tunevale::test {

/// The disk under this program's files while the object lives. One at a time.
struct TestDisk {
  TestDisk() { current = this; }
  ~TestDisk() { current = nullptr; }

  /// "file", "rename" or "folder" for each sync and rename so far, with a space after each. Read it while
  /// nothing is written.
  std::string calls;
  std::atomic<int> refusal = 0;  // the errno of each sync of a file; 0: it succeeds
  std::mutex held;               // while it is locked, the sync of a file waits
  static inline std::atomic<TestDisk*> current = nullptr;
};

}  // namespace tunevale::test
