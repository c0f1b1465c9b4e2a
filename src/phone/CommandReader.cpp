#include "phone/CommandReader.h"

#include <utility>

#include "foundation/Description.h"
#include "tagged/Base64.h"
#include "tagged/TaggedJson.h"

namespace tunevale::phone {

namespace json = boost::json;

const json::value* CommandReader::take(std::string_view name) {
  taken_.emplace(name);
  return error_.empty() ? command_.if_contains(name) : nullptr;
}

void CommandReader::fail(std::string why) {
  if (error_.empty()) error_ = std::move(why);
}

std::optional<std::string> CommandReader::text(std::string_view name) {
  const json::value* value = take(name);
  if (value == nullptr) return std::nullopt;
  if (const json::string* found = value->if_string()) return std::string(*found);
  fail(std::string(name) + " is not a text");
  return std::nullopt;
}

std::optional<bool> CommandReader::flag(std::string_view name) {
  const json::value* value = take(name);
  if (value == nullptr) return std::nullopt;
  if (const bool* found = value->if_bool()) return *found;
  fail(std::string(name) + " is not true or false");
  return std::nullopt;
}

std::optional<std::int64_t> CommandReader::number(std::string_view name, std::int64_t least,
                                                  std::int64_t most) {
  const json::value* value = take(name);
  if (value == nullptr) return std::nullopt;
  const std::int64_t* found = value->if_int64();
  if (found != nullptr && *found >= least && *found <= most) return *found;
  fail(std::string(name) + " is not a whole number from " + std::to_string(least) + " to " +
       std::to_string(most));
  return std::nullopt;
}

std::set<std::string> CommandReader::texts(std::string_view name) {
  const json::value* value = take(name);
  if (value == nullptr) return {};
  std::set<std::string> found;
  const json::array* list = value->if_array();
  for (const json::value& element : list == nullptr ? json::array() : *list) {
    if (const json::string* text = element.if_string()) found.emplace(*text);
  }
  if (list == nullptr || found.size() != list->size())
    fail(std::string(name) + " is not a list of different texts");
  return found;
}

std::optional<PlistValue> CommandReader::tagged(std::string_view name) {
  const json::value* value = take(name);
  if (value == nullptr) return std::nullopt;
  std::string why;
  auto found = fromTaggedJson(*value, why);
  if (!found) fail(std::string(name) + ": " + why);
  return found;
}

std::optional<Bytes> CommandReader::base64(std::string_view name) {
  const auto encoded = text(name);
  if (!encoded) return std::nullopt;
  auto found = fromBase64(*encoded);
  if (!found) fail(std::string(name) + " is not base 64");
  return found;
}

std::int64_t CommandReader::requiredNumber(std::string_view name, std::int64_t least, std::int64_t most) {
  const auto value = number(name, least, most);
  if (!value) fail(std::string(name) + " is missing");
  return value.value_or(least);
}

PlistDictionary CommandReader::requiredDictionary(std::string_view name) {
  const PlistValue value = required<PlistValue>(name, &CommandReader::tagged);
  if (value.dictionary() != nullptr) return *value.dictionary();
  fail(std::string(name) + " is not a dictionary");
  return {};
}

bool CommandReader::finish() {
  for (const auto& member : command_) {
    if (!taken_.contains(member.key())) fail("unknown member " + description(std::string_view(member.key())));
  }
  return error_.empty();
}

}  // namespace tunevale::phone
