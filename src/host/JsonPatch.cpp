#include "host/JsonPatch.h"

#include <string>

#include <boost/json.hpp>

namespace tunevale::host {

namespace json = boost::json;

namespace {

/// One step of a JSON Pointer (RFC 6901).
std::string step(std::string_view key) {
  std::string escaped = "/";
  for (const char c : key) {
    if (c == '~') {
      escaped += "~0";
    } else if (c == '/') {
      escaped += "~1";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

class Differ {
 public:
  void compare(const std::string& path, const json::value& from, const json::value& to) {
    if (from.is_object() && to.is_object()) {
      compareObjects(path, from.get_object(), to.get_object());
    } else if (from.is_array() && to.is_array()) {
      compareArrays(path, from.get_array(), to.get_array());
    } else if (from != to) {
      put("replace", path, &to);
    }
  }
  json::array take() { return std::move(operations_); }

 private:
  void compareObjects(const std::string& path, const json::object& from, const json::object& to) {
    for (const auto& member : from) {
      if (to.if_contains(member.key()) == nullptr) put("remove", path + step(member.key()), nullptr);
    }
    for (const auto& member : to) {
      const json::value* before = from.if_contains(member.key());
      const std::string below = path + step(member.key());
      if (before == nullptr) {
        put("add", below, &member.value());
      } else {
        compare(below, *before, member.value());
      }
    }
  }

  void compareArrays(const std::string& path, const json::array& from, const json::array& to) {
    // From the end, so that every index still means what it did.
    for (std::size_t i = from.size(); i > to.size(); --i) {
      put("remove", path + "/" + std::to_string(i - 1), nullptr);
    }
    for (std::size_t i = 0; i < to.size(); ++i) {
      const std::string below = path + "/" + std::to_string(i);
      if (i < from.size()) {
        compare(below, from[i], to[i]);
      } else {
        put("add", below, &to[i]);
      }
    }
  }

  void put(const char* operation, const std::string& path, const json::value* value) {
    json::object entry{{"op", operation}, {"path", path}};
    if (value != nullptr) entry["value"] = *value;
    operations_.push_back(std::move(entry));
  }

  json::array operations_;
};

}  // namespace

json::array jsonPatch(const json::value& from, const json::value& to) {
  Differ differ;
  differ.compare("", from, to);
  return differ.take();
}

}  // namespace tunevale::host
