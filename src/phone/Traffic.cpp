#include "phone/Traffic.h"

#include <chrono>
#include <utility>

#include <boost/json.hpp>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "phone/PhoneState.h"
#include "tagged/TaggedJson.h"

namespace tunevale::phone {

namespace json = boost::json;

namespace {

constexpr std::size_t kMostEntries = 200;  // a person scrolls no further; scripts have the events
constexpr std::size_t kMostNameLength = 80;

std::size_t sizeOf(const PlistDictionary& body) {
  return writePropertyList(body).size();
}

/// The contents of message data: what its archive holds, or the bytes when it is none.
PlistValue contentsOf(ByteView data) {
  return unarchiveObjectWithData(data).value_or(PlistValue(data));
}

std::string nameOf(const PlistValue& body) {
  const PlistDictionary* dictionary = body.dictionary();
  const std::string_view request =
      dictionary == nullptr ? std::string_view() : textOf(*dictionary, "request");
  return std::string(request.empty() ? "?" : request.substr(0, kMostNameLength));
}

std::string resultOf(std::string_view transport, const Outcome& outcome) {
  // No watch answers message data: it handles them, and drops the reply.
  const bool dropped = outcome.error && outcome.error->code == link::ErrorCode::replyFailed;
  if (dropped && transport == "message_data") return "taken";
  if (outcome.error) {
    return "error " + std::to_string(static_cast<int>(outcome.error->code)) + " " +
           outcome.error->description;
  }
  const std::string_view status = textOf(outcome.reply, "request");
  return status.empty() ? "delivered" : "reply " + std::string(status.substr(0, kMostNameLength));
}

template <typename Body>
std::string_view nameOf(typename AnswerOf<Body>::Kind kind) {
  using Kind = typename AnswerOf<Body>::Kind;
  return kind == Kind::reply ? "reply" : kind == Kind::silence ? "silence" : "failure";
}

}  // namespace

Traffic::Traffic(link::Strand& strand, WatchLink& link, Events& events, std::function<void()> afterOutcome)
    : strand_(strand),
      link_(link),
      events_(events),
      afterOutcome_(std::move(afterOutcome)),
      start_(strand.now()),
      self_(std::make_shared<Traffic*>(this)) {}

std::int64_t Traffic::now() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(strand_.now() - start_).count();
}

TrafficEntry& Traffic::add(bool incoming, std::string_view transport, std::string what, std::size_t size) {
  if (log_.size() == kMostEntries) log_.pop_front();
  ++changes_;
  return log_.emplace_back(
      TrafficEntry{++lastNumber_, now(), incoming, transport, std::move(what), size, {}});
}

Traffic::Then Traffic::sent(const Label& label, std::string_view transport, std::size_t size, Then then) {
  const std::uint64_t number = add(false, transport, label.what, size).number;
  events_.emit("sent", {{"n", number}, {"transport", transport}, {"what", label.what}, {"size", size}},
               label.ref);
  return [self = std::weak_ptr(self_), number, label, then = std::move(then)](const Outcome& outcome) {
    const auto traffic = self.lock();
    if (!traffic) return;
    (*traffic)->finish(number, label, outcome);
    if (then) then(outcome);
    (*traffic)->afterOutcome_();
  };
}

void Traffic::finish(std::uint64_t number, const Label& label, const Outcome& outcome) {
  json::object event{{"n", number}, {"what", label.what}};
  if (outcome.error) {
    event["result"] = "error";
    event["code"] = static_cast<int>(outcome.error->code);
    event["text"] = outcome.error->description;
  } else if (!outcome.reply.empty() || !outcome.data.empty()) {
    event["result"] = "reply";
    event["body"] = toTaggedJson(outcome.data.empty() ? PlistValue(outcome.reply) : contentsOf(outcome.data));
  } else {
    event["result"] = "delivered";
  }
  events_.emit("outcome", std::move(event), label.ref);
  ++changes_;
  for (TrafficEntry& entry : log_) {
    if (entry.number == number) entry.result = resultOf(entry.transport, outcome);
  }
}

void Traffic::message(const Label& label, const PlistDictionary& message, Then then) {
  link_.sendMessage(message, sent(label, "message", sizeOf(message), std::move(then)));
}

void Traffic::messageData(const Label& label, const Bytes& data, Then then) {
  link_.sendMessageData(data, sent(label, "message_data", data.size(), std::move(then)));
}

void Traffic::userInfo(const Label& label, const PlistDictionary& userInfo, Then then) {
  link_.transferUserInfo(userInfo, sent(label, "user_info", sizeOf(userInfo), std::move(then)));
}

void Traffic::context(const Label& label, const PlistDictionary& context, Then then) {
  link_.updateApplicationContext(context, sent(label, "context", sizeOf(context), std::move(then)));
}

void Traffic::file(const Label& label, const Bytes& contents, const PlistDictionary& metadata, Then then) {
  link_.transferFile(contents, metadata, sent(label, "file", contents.size(), std::move(then)));
}

void Traffic::received(std::string_view transport, const PlistDictionary& body) {
  noteReceived(transport, sizeOf(body), body);
}

void Traffic::receivedFile(std::size_t size, const PlistDictionary& metadata) {
  noteReceived("file", size, metadata);
}

void Traffic::noteReceived(std::string_view transport, std::size_t size, const PlistDictionary& body) {
  TrafficEntry& entry = add(true, transport, nameOf(PlistValue(body)), size);
  entry.result = "received";
  events_.emit("received",
               {{"n", entry.number}, {"transport", transport}, {"size", size}, {"body", toTaggedJson(body)}});
}

void Traffic::answered(const PlistDictionary& message, const Answer& answer) {
  const std::size_t size = sizeOf(message);
  TrafficEntry& entry = add(true, "message", nameOf(PlistValue(message)), size);
  entry.result = nameOf<PlistDictionary>(answer.kind);
  const std::string_view refusal = textOf(answer.body, "error");
  if (!refusal.empty()) entry.result += " error: " + std::string(refusal.substr(0, kMostNameLength));
  json::object event{{"n", entry.number}, {"transport", "message"}, {"size", size}};
  event["body"] = toTaggedJson(message);
  event["answer"] = nameOf<PlistDictionary>(answer.kind);
  if (answer.kind == Answer::Kind::reply) event["reply"] = toTaggedJson(answer.body);
  events_.emit("request", std::move(event));
}

void Traffic::answered(ByteView data, const DataAnswer& answer) {
  const PlistValue body = contentsOf(data);
  TrafficEntry& entry = add(true, "message_data", nameOf(body), data.size());
  entry.result = nameOf<Bytes>(answer.kind);
  json::object event{{"n", entry.number}, {"transport", "message_data"}, {"size", data.size()}};
  event["body"] = toTaggedJson(body);
  event["answer"] = nameOf<Bytes>(answer.kind);
  if (answer.kind == DataAnswer::Kind::reply) event["reply"] = toTaggedJson(contentsOf(answer.body));
  events_.emit("request", std::move(event));
}

}  // namespace tunevale::phone
