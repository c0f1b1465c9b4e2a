#include <filesystem>
#include <thread>

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include "link/FaultRow.h"
#include "link/faults/SecurePair.h"

namespace tunevale::link {
namespace {

std::size_t residentBytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/statm");
  std::size_t pages = 0;
  file >> pages >> pages;
  return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t descriptors() {
  const std::filesystem::directory_iterator begin("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

/// Messages at a steady rate, files and cuts in between, for a while; then all is waited for.
struct Soak {
  void run(std::chrono::milliseconds howLong, bool full) {
    const auto cutEvery = full ? 3000ms : 300ms, fileEvery = full ? 5000ms : 500ms;
    const auto start = std::chrono::steady_clock::now();
    auto nextCut = start + cutEvery;
    auto nextFile = start + fileEvery;
    for (auto now = start; now < start + howLong; now = std::chrono::steady_clock::now()) {
      for (SecureEnd* end : {&pair.watch, &pair.phone}) {  // 100 a second each
        ++sent;
        end->session->sendMessage(
            {{"n", 1}}, [this](const auto&) { ++replies; }, [this](const auto&) { ++errors; });
      }
      if (now >= nextFile) {
        pair.phone.queueFile(files.files.emplace_back(files.files.size() + 1));
        nextFile += fileEvery;
      }
      if (now >= nextCut) {
        pair.proxy->cut(++cuts % 2 == 0);
        nextCut += cutEvery;
      }
      std::this_thread::sleep_until(now + 10ms);
    }
    EXPECT_TRUE(pair.watch.comes([&] { return replies + errors >= sent; }, 15s));
    EXPECT_TRUE(pair.watch.comes([&] { return complaint(pair.watch.notes.effects, files).empty(); }, 5s));
    EXPECT_TRUE(pair.becomesReachable(5s));
  }

  SecurePair pair;
  std::atomic<std::size_t> sent = 0;
  std::atomic<std::size_t> replies = 0;
  std::atomic<std::size_t> errors = 0;
  Wanted files;
  int cuts = 0;
};

TEST(FaultTable, F15MemoryAndDescriptorsStayFlat) {
  const bool full = faultCount(1, 0) == 1;
  Soak soak;
  ASSERT_TRUE(soak.pair.becomesReachable(5s));
  soak.run(full ? 15s : 3s, full);  // until every buffer has its size
  const std::size_t memory = residentBytes();
  const std::size_t open = descriptors();
  soak.run(full ? 60s : 5s, full);
  const std::size_t memoryAfter = residentBytes();
  // The ends of the last cut may still be open: every cut that kept one would leave more than can go away.
  std::size_t openAfter = 0;
  soak.pair.watch.comes([&] { return (openAfter = descriptors()) <= open; }, 5s);
  EXPECT_LE(openAfter, open);
  // A sanitizer keeps books of its own.
  EXPECT_LE(kSanitized ? 0 : memoryAfter, memory + (std::size_t{2} << 20));
  EXPECT_GT(soak.replies, soak.sent / 2);
  FaultRow("F15") << soak.sent << " messages (" << soak.replies << " replies, " << soak.errors << " errors), "
                  << soak.files.files.size() << " files, " << soak.cuts << " cuts: " << memory / 1024
                  << " KiB and " << open << " descriptors, then " << memoryAfter / 1024 << " KiB and "
                  << openAfter;
}

}  // namespace
}  // namespace tunevale::link
