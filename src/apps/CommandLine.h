#pragma once

#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace tunevale {

/// Something is wrong with the command line: what() is the one line for the person; the exit status is 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Options as `--name VALUE`, `--name=VALUE` or plain `--flag`, in any order. Each at most once.
class CommandLine {
 public:
  /// Throws UsageError for an option that is in neither list, lacks its value or comes twice, and for a word
  /// that is no option.
  CommandLine(int count, const char* const* words, const std::vector<std::string>& flags,
              const std::vector<std::string>& options);

  bool has(const std::string& flag) const { return flags_.contains(flag); }
  std::optional<std::string> value(const std::string& option) const;

 private:
  std::set<std::string> flags_;
  std::vector<std::pair<std::string, std::string>> values_;
};

}  // namespace tunevale
