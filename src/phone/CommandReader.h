#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <boost/json.hpp>

#include "foundation/PlistValue.h"

namespace tunevale::phone {

/// Takes the members of one command apart. The first thing that is wrong is kept; what is asked for after
/// that comes back empty. For the command code only.
class CommandReader {
 public:
  explicit CommandReader(const boost::json::object& command) : command_(command) {}

  bool has(std::string_view name) const { return command_.contains(name); }
  std::optional<std::string> text(std::string_view name);
  std::optional<bool> flag(std::string_view name);
  /// Within `least` to `most`, both included.
  std::optional<std::int64_t> number(std::string_view name, std::int64_t least, std::int64_t most);
  std::set<std::string> texts(std::string_view name);
  /// A member in tagged JSON.
  std::optional<PlistValue> tagged(std::string_view name);
  std::optional<Bytes> base64(std::string_view name);

  /// The same for what must be there.
  template <typename T>
  T required(std::string_view name, std::optional<T> (CommandReader::*get)(std::string_view)) {
    auto value = (this->*get)(name);
    if (!value) fail(std::string(name) + " is missing");
    return value.value_or(T());
  }
  std::int64_t requiredNumber(std::string_view name, std::int64_t least, std::int64_t most);
  PlistDictionary requiredDictionary(std::string_view name);

  void fail(std::string why);
  /// Whether all was well and nothing is left that nobody asked for. To be called before anything is done.
  bool finish();
  const std::string& error() const { return error_; }

 private:
  const boost::json::value* take(std::string_view name);

  const boost::json::object& command_;
  std::set<std::string, std::less<>> taken_;
  std::string error_;
};

}  // namespace tunevale::phone
