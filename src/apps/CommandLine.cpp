#include "apps/CommandLine.h"

#include <algorithm>

namespace tunevale {

CommandLine::CommandLine(int count, const char* const* words, const std::vector<std::string>& flags,
                         const std::vector<std::string>& options) {
  const auto isIn = [](const std::vector<std::string>& list, const std::string& name) {
    return std::find(list.begin(), list.end(), name) != list.end();
  };
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    const std::size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    if (isIn(flags, word)) {
      flags_.insert(word);
    } else if (isIn(options, name)) {
      if (equals == std::string::npos && i + 1 >= count) throw UsageError(name + " needs a value");
      if (value(name)) throw UsageError(name + " is given twice");
      values_.emplace_back(name, equals == std::string::npos ? words[++i] : word.substr(equals + 1));
    } else {
      throw UsageError(word.starts_with("-") ? "unknown option " + word : "unexpected argument " + word);
    }
  }
}

std::optional<std::string> CommandLine::value(const std::string& option) const {
  for (const auto& [name, given] : values_) {
    if (name == option) return given;
  }
  return std::nullopt;
}

}  // namespace tunevale
