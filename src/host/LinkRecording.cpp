#include "host/LinkRecording.h"

#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <boost/json.hpp>

#include "tagged/Base64.h"
#include "tagged/TaggedJson.h"

namespace tunevale::host {

namespace json = boost::json;

namespace {

using EventKind = RecordedEvent::Kind;

/// Which members an event of a kind has.
enum class Error { never, perhaps, always };
struct Shape {
  EventKind kind;
  std::string_view name;
  bool id;
  bool body;
  bool data;
  Error error = Error::never;
};
constexpr std::array kShapes{
    Shape{EventKind::activation, "activation", false, false, false, Error::perhaps},
    Shape{EventKind::state, "state", false, false, false},
    Shape{EventKind::message, "message", true, true, false},
    Shape{EventKind::messageData, "message_data", true, false, true},
    Shape{EventKind::userInfo, "user_info", false, true, false},
    Shape{EventKind::context, "context", false, true, false},
    Shape{EventKind::file, "file", false, true, true},
    Shape{EventKind::reply, "reply", true, true, false},
    Shape{EventKind::dataReply, "data_reply", true, false, true},
    Shape{EventKind::request, "request", true, true, false},
    Shape{EventKind::dataRequest, "data_request", true, false, true},
    Shape{EventKind::answer, "answer", true, true, false},
    Shape{EventKind::dataAnswer, "data_answer", true, false, true},
    Shape{EventKind::failure, "failure", true, false, false, Error::always},
    Shape{EventKind::userInfoFinished, "user_info_finished", false, true, false, Error::perhaps},
    Shape{EventKind::fileFinished, "file_finished", true, false, false, Error::perhaps},
    Shape{EventKind::queueReset, "queue_reset", false, false, false},
    Shape{EventKind::unpaired, "unpaired", false, false, false},
};

const Shape* shapeOf(const json::value& name) {
  if (!name.is_string()) return nullptr;
  for (const Shape& shape : kShapes) {
    if (shape.name == std::string_view(name.get_string())) return &shape;
  }
  return nullptr;
}

/// Reads members one by one and keeps the first complaint.
class Members {
 public:
  explicit Members(const json::object& object) : object_(object) {}

  bool has(std::string_view name) const { return object_.contains(name); }

  const json::value& value(std::string_view name) {
    static const json::value none;
    const json::value* found = object_.if_contains(name);
    if (found != nullptr) return *found;
    complain(std::string(name) + " is missing");
    return none;
  }
  std::int64_t number(std::string_view name) {
    const json::value& found = value(name);
    if (found.is_int64() && found.get_int64() >= 0) return found.get_int64();
    complain(std::string(name) + " is no number");
    return 0;
  }
  bool flag(std::string_view name) {
    const json::value& found = value(name);
    if (!found.is_bool()) complain(std::string(name) + " is neither true nor false");
    return found.is_bool() && found.get_bool();
  }
  std::string text(std::string_view name) {
    const json::value& found = value(name);
    if (!found.is_string()) complain(std::string(name) + " is no text");
    return found.is_string() ? std::string(found.get_string()) : std::string();
  }
  PlistDictionary dictionary(std::string_view name) {
    std::string why;
    const auto read = fromTaggedJson(value(name), why);
    const PlistDictionary* dictionary = read ? read->dictionary() : nullptr;
    if (dictionary != nullptr) return *dictionary;
    complain(std::string(name) + (why.empty() ? " is no dictionary" : ": " + why));
    return {};
  }
  Bytes bytes(std::string_view name) {
    auto read = fromBase64(text(name));
    if (!read) complain(std::string(name) + " is not base 64");
    return read.value_or(Bytes{});
  }
  void complain(std::string why) {
    if (complaint.empty()) complaint = std::move(why);
  }
  std::string complaint;

 private:
  const json::object& object_;
};

RecordedEvent readEvent(Members& members, const Shape& shape) {
  RecordedEvent event;
  event.kind = shape.kind;
  event.at = std::chrono::milliseconds(members.number("at"));
  if (shape.id) event.id = static_cast<std::uint64_t>(members.number("id"));
  if (shape.body) event.body = members.dictionary("body");
  if (shape.data) event.data = members.bytes("data");
  if (shape.kind == EventKind::state) {
    event.reachable = members.flag("reachable");
    event.locked = members.flag("locked");
  }
  if (shape.error == Error::always || (shape.error == Error::perhaps && members.has("code"))) {
    const std::int64_t code = members.number("code");
    if (code > 9999) members.complain("code is no number of an error");
    event.error = {static_cast<int>(code), members.text("description")};
  }
  return event;
}

bool isHeader(std::string_view line) {
  json::error_code error;
  const json::value value = json::parse(line, error);
  const json::value* version =
      !error && value.is_object() ? value.get_object().if_contains("recording") : nullptr;
  return version != nullptr && *version == json::value(1);
}

}  // namespace

std::string recordingHeader() {
  return R"({"recording":1,"of":"tunevale-watch"})";
}

std::string recordedLine(const RecordedEvent& event) {
  const Shape& shape = kShapes[static_cast<std::size_t>(event.kind)];
  json::object line{{"at", event.at.count()}, {"event", shape.name}};
  if (shape.id) line["id"] = event.id;
  if (shape.body) line["body"] = toTaggedJson(event.body);
  if (shape.data) line["data"] = toBase64(event.data);
  if (event.kind == EventKind::state) {
    line["reachable"] = event.reachable;
    line["locked"] = event.locked;
  }
  if (shape.error == Error::always || event.error.code != 0) {
    line["code"] = event.error.code;
    line["description"] = event.error.description;
  }
  return json::serialize(line);
}

std::optional<RecordedEvent> readRecordedLine(std::string_view line, std::string& error) {
  json::error_code failed;
  json::parse_options options;
  options.max_depth = 256;  // tagged values, nested 64 deep, take two levels each
  const json::value value = json::parse(line, failed, {}, options);
  if (failed || !value.is_object()) {
    error = "no JSON object";
    return std::nullopt;
  }
  Members members(value.get_object());
  const Shape* shape = shapeOf(members.value("event"));
  if (shape == nullptr) {
    error = "no such event";
    return std::nullopt;
  }
  RecordedEvent event = readEvent(members, *shape);
  error = members.complaint;
  return error.empty() ? std::optional(std::move(event)) : std::nullopt;
}

std::vector<RecordedEvent> readRecording(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (!std::getline(file, line)) throw std::runtime_error("cannot read the recording " + path);
  if (!isHeader(line)) throw std::runtime_error(path + " is no recording");
  std::vector<RecordedEvent> events;
  std::size_t read = line.size();
  for (std::size_t number = 2; std::getline(file, line) && !file.eof(); ++number) {
    read += line.size();
    if (read > kMostRecordingBytes) throw std::runtime_error(path + " is too large for a recording");
    std::string error;
    auto event = readRecordedLine(line, error);
    if (!event) throw std::runtime_error(path + ", line " + std::to_string(number) + ": " + error);
    events.push_back(std::move(*event));
  }
  return events;
}

}  // namespace tunevale::host
