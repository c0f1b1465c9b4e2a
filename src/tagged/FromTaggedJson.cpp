#include <algorithm>
#include <charconv>
#include <limits>

#include <boost/json.hpp>

#include "tagged/Base64.h"
#include "tagged/TaggedJson.h"
#include "tagged/TaggedKinds.h"

namespace tunevale {
namespace {

namespace json = boost::json;
using Result = std::optional<PlistValue>;

/// Reads one JSON value; on failure keeps what was wrong and the way to it.
class Reader {
 public:
  Result read(const json::value& value, int depth);
  std::string takeError() { return (path_.empty() ? "the value" : path_) + ": " + problem_; }

 private:
  Result fail(std::string problem) {
    problem_ = std::move(problem);
    return std::nullopt;
  }
  Result readContent(std::string_view tag, const json::value& content, int depth);
  Result readText(std::string_view tag, std::string_view text);
  Result readArray(const json::array& items, int depth);
  Result readDictionary(const json::object& members, int depth);

  std::string path_;
  std::string problem_;
};

/// Names in an error stay on one line and short, whatever they hold.
std::string shown(std::string_view name) {
  return json::serialize(json::value(name.size() <= 40 ? name : std::string_view("...")));
}

Result readInteger(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (problem != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return PlistValue(value);
}

Result readReal(std::string_view text) {
  using Limits = std::numeric_limits<double>;
  if (text == kNan) return PlistValue(Limits::quiet_NaN());
  if (text == kInfinity) return PlistValue(Limits::infinity());
  if (text == kMinusInfinity) return PlistValue(-Limits::infinity());
  if (text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return std::nullopt;
  double value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (problem != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return PlistValue(value);
}

Result Reader::read(const json::value& value, int depth) {
  const json::object* object = value.if_object();
  if (object == nullptr) return fail("not an object with \"t\" and \"v\"");
  const json::value* tag = object->if_contains("t");
  const json::value* content = object->if_contains("v");
  if (tag == nullptr || !tag->is_string()) return fail("no text \"t\"");
  if (tag->get_string() == kNull) {
    if (object->size() != 1) return fail("\"null\" has no other members");
    return PlistValue();
  }
  if (content == nullptr) return fail("no \"v\"");
  if (object->size() != 2) return fail("members other than \"t\" and \"v\"");
  return readContent(tag->get_string(), *content, depth);
}

Result Reader::readContent(std::string_view tag, const json::value& content, int depth) {
  if (tag == kBool) {
    if (!content.is_bool()) return fail("\"bool\" takes true or false");
    return PlistValue(content.get_bool());
  }
  if (tag == kArr || tag == kDict) {
    if (depth == kMostContainers) return fail("nested deeper than 64");
    if (tag == kArr) {
      return content.is_array() ? readArray(content.get_array(), depth) : fail("\"arr\" takes an array");
    }
    return content.is_object() ? readDictionary(content.get_object(), depth)
                               : fail("\"dict\" takes an object");
  }
  if (tag != kInt && tag != kReal && tag != kStr && tag != kData) return fail("unknown kind " + shown(tag));
  if (!content.is_string()) return fail("\"" + std::string(tag) + "\" takes a text");
  return readText(tag, content.get_string());
}

Result Reader::readText(std::string_view tag, std::string_view text) {
  if (tag == kStr) return PlistValue(text);
  if (tag == kInt) {
    Result value = readInteger(text);
    return value ? value : fail("not a whole number of 64 bits");
  }
  if (tag == kReal) {
    Result value = readReal(text);
    return value ? value : fail("not a real number of 64 bits");
  }
  const auto bytes = fromBase64(text);
  return bytes ? PlistValue(*bytes) : fail("not base 64");
}

Result Reader::readArray(const json::array& items, int depth) {
  PlistArray array;
  array.reserve(items.size());
  for (const json::value& item : items) {
    Result value = read(item, depth + 1);
    if (!value) {
      path_.insert(0, "[" + std::to_string(array.size()) + "]");
      return std::nullopt;
    }
    array.append(std::move(*value));
  }
  return PlistValue(std::move(array));
}

Result Reader::readDictionary(const json::object& members, int depth) {
  std::vector<PlistDictionary::Entry> entries;
  entries.reserve(members.size());
  for (const auto& member : members) {
    Result value = read(member.value(), depth + 1);
    if (!value) {
      path_.insert(0, "[" + shown(member.key()) + "]");
      return std::nullopt;
    }
    entries.push_back({PlistString(std::string_view(member.key())), std::move(*value)});
  }
  return PlistValue(PlistDictionary::fromEntries(std::move(entries)));
}

}  // namespace

Result fromTaggedJson(const json::value& value, std::string& error) {
  Reader reader;
  Result result = reader.read(value, 0);
  if (!result) error = reader.takeError();
  return result;
}

Result fromTaggedJsonText(std::string_view text, std::string& error) {
  json::parse_options options;
  options.max_depth = 2 * kMostContainers + 1;  // each container is an object around an array or object
  json::error_code problem;
  json::stream_parser parser({}, options);
  const std::size_t read = parser.write_some(text.data(), text.size(), problem);
  const std::string_view rest = text.substr(std::min(read, text.size()));
  if (!problem && rest.find_first_not_of(" \t\r\n") != std::string_view::npos)
    problem = json::error::extra_data;
  if (!problem) parser.finish(problem);
  if (problem) {
    error = "no sound JSON at byte " + std::to_string(read) + ": " + problem.message();
    return std::nullopt;
  }
  return fromTaggedJson(parser.release(), error);
}

}  // namespace tunevale
