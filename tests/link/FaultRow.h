#pragma once

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace tunevale::link {

// Rows of the fault table are tests of the suite FaultTable, named by their number (F4CutsAtAnyByte). Each
// ends by printing its figures. `./test faults` runs them in full, the everyday tests with fewer repetitions.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kSanitized = false;
#endif

/// How often to repeat: `full` with TUNEVALE_FAULTS=full in the environment, `quick` otherwise.
inline int faultCount(int full, int quick) {
  const char* wanted = std::getenv("TUNEVALE_FAULTS");
  return wanted != nullptr && std::string(wanted) == "full" ? full : quick;
}

/// Prints a line of figures when it goes: FaultRow("F4") << cuts << " cuts, " << lost << " lost";
class FaultRow {
 public:
  explicit FaultRow(const std::string& number) { line_ << number << std::string(5 - number.size(), ' '); }
  ~FaultRow() {
    std::cout << (testing::Test::HasFailure() ? "FAILED FAULT " : "FAULT ") << line_.str() << std::endl;
  }
  FaultRow(const FaultRow&) = delete;
  FaultRow& operator=(const FaultRow&) = delete;
  template <class Part>
  FaultRow& operator<<(const Part& part) {
    line_ << part;
    return *this;
  }

 private:
  std::ostringstream line_;
};

}  // namespace tunevale::link
