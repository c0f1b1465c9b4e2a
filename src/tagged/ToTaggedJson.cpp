#include <array>
#include <charconv>
#include <cmath>

#include <boost/json.hpp>

#include "tagged/Base64.h"
#include "tagged/TaggedJson.h"
#include "tagged/TaggedKinds.h"

namespace tunevale {
namespace {

namespace json = boost::json;

template <typename Number>
std::string numberText(Number number) {
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
  return {buffer.data(), end};
}

std::string realText(double real) {
  if (std::isnan(real)) return std::string(kNan);
  if (std::isinf(real)) return std::string(real > 0 ? kInfinity : kMinusInfinity);
  return numberText(real);
}

json::value tagged(std::string_view tag, json::value content) {
  json::object object;
  object.reserve(2);
  object.emplace("t", tag);
  object.emplace("v", std::move(content));
  return object;
}

json::value convert(const PlistValue& value, int depth) {
  switch (value.kind()) {
    case PlistValue::Kind::boolean:
      return tagged(kBool, *value.boolean());
    case PlistValue::Kind::integer:
      return tagged(kInt, json::value(numberText(*value.integer())));
    case PlistValue::Kind::real:
      return tagged(kReal, json::value(realText(*value.real())));
    case PlistValue::Kind::string:
      return tagged(kStr, json::value(*value.string()));
    case PlistValue::Kind::bytes:
      return tagged(kData, json::value(toBase64(*value.bytes())));
    case PlistValue::Kind::array: {
      if (depth == kMostContainers) break;
      json::array items;
      items.reserve(value.array()->size());
      for (const PlistValue& item : *value.array()) items.push_back(convert(item, depth + 1));
      return tagged(kArr, std::move(items));
    }
    case PlistValue::Kind::dictionary: {
      if (depth == kMostContainers) break;
      json::object entries;
      entries.reserve(value.dictionary()->size());
      for (const auto& entry : *value.dictionary())
        entries.emplace(entry.key.view(), convert(entry.value, depth + 1));
      return tagged(kDict, std::move(entries));
    }
    case PlistValue::Kind::null:
      break;
  }
  return json::object{{"t", kNull}};
}

}  // namespace

json::value toTaggedJson(const PlistValue& value) {
  return convert(value, 0);
}

std::string toTaggedJsonText(const PlistValue& value) {
  return json::serialize(toTaggedJson(value));
}

}  // namespace tunevale
