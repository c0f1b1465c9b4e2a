#include "link/Messages.h"

#include <atomic>
#include <utility>

#include "link/SessionCore.h"

namespace tunevale::link {
namespace {

using std::chrono::ceil;
using std::chrono::floor;
using std::chrono::milliseconds;

constexpr std::uint64_t kClockShare = 2000;     // two clocks part by less than one in so many
constexpr std::uint64_t kForever = 86'400'000;  // ms: from a day on, a time to live is none

/// What a handler of an incoming message holds: the right to answer once. Whatever happens to it, the other
/// end hears of it once.
class ReplyToken {
 public:
  ReplyToken(std::shared_ptr<Mailbox> mailbox, std::uint64_t connection, std::uint64_t id)
      : mailbox_(std::move(mailbox)), connection_(connection), id_(id) {}
  ~ReplyToken() { answer(std::nullopt, ErrorCode::replyFailed); }
  ReplyToken(const ReplyToken&) = delete;
  ReplyToken& operator=(const ReplyToken&) = delete;

  void answer(std::optional<PlistDictionary> answer, ErrorCode otherwise) {
    if (answered_.exchange(true)) return;
    mailbox_->post(
        [connection = connection_, id = id_, answer = std::move(answer), otherwise](SessionCore& core) {
          core.messages().answer(connection, id, answer, otherwise);
          core.wake();
        });
  }

 private:
  const std::shared_ptr<Mailbox> mailbox_;
  const std::uint64_t connection_;
  const std::uint64_t id_;
  std::atomic<bool> answered_ = false;
};

/// A payload by itself, or the frame's body that it is in: a few objects more may widen all references.
bool isTooLarge(const PlistValue& payload, std::size_t body) {
  if (body > kMostFrameBody) return true;
  if (const PlistDictionary* dictionary = payload.dictionary())
    return isLargerThan(kMostMessage, *dictionary, body);
  return payload.bytes().value_or(ByteView{}).size() > kMostMessageData;
}

}  // namespace

void Messages::send(OutgoingMessage message) {
  waiting_.emplace(next_++, std::move(message));
  if (deadlineTimer_ == nullptr) watchDeadline();
}

void Messages::fail(OutgoingMessage message, ErrorCode code) {
  if (!message.error) return;
  delivery_.answer([handler = std::move(message.error), code] { handler(makeError(code)); });
}

void Messages::failAll(ErrorCode code) {
  while (!waiting_.empty()) finish(waiting_.begin(), code);
}

void Messages::finish(std::map<std::uint64_t, OutgoingMessage>::iterator waiting, ErrorCode code) {
  OutgoingMessage message = std::move(waiting->second);
  waiting_.erase(waiting);
  fail(std::move(message), code);
}

void Messages::connectionDidClose() {
  answers_.clear();
  answerBytes_ = 0;
  while (!waiting_.empty()) {
    const bool written = waiting_.begin()->first < nextToWrite_;
    finish(waiting_.begin(), written ? ErrorCode::deliveryFailed : ErrorCode::notReachable);
  }
}

bool Messages::fill(FrameWriter& frames) {
  if (!answers_.empty()) {
    for (const Answer& answer : answers_) frames.add(answer.type, answer.id, answer.body);
    answers_.clear();
    answerBytes_ = 0;
    return true;
  }
  const Time now = strand_.now();
  for (auto next = waiting_.lower_bound(nextToWrite_); next != waiting_.end();
       next = waiting_.lower_bound(nextToWrite_)) {
    nextToWrite_ = next->first + 1;
    if (next->second.deadline <= now) {
      finish(next, ErrorCode::replyTimedOut);
      continue;
    }
    const PlistValue payload = std::exchange(next->second.payload, {});
    const std::optional<Bytes> body = writeWholePropertyList(
        PlistDictionary{{next->second.isData ? "data" : "message", payload},
                        {"ttl", ceil<milliseconds>(next->second.deadline - now).count()},
                        {"sent", floor<milliseconds>(now - introduced_).count()}});
    if (body && !isTooLarge(payload, body->size())) {
      frames.add(FrameType::message, next->first, *body);
      return true;
    }
    finish(next, body ? ErrorCode::payloadTooLarge : ErrorCode::unsupportedTypes);
  }
  return false;
}

void Messages::answer(std::uint64_t connection, std::uint64_t id,
                      const std::optional<PlistDictionary>& answer, ErrorCode otherwise) {
  if (connection != connection_) return;
  if (!answer) {
    refuse(id, otherwise);
    return;
  }
  std::optional<Bytes> body = writeWholePropertyList(*answer);
  if (!body) {
    refuse(id, ErrorCode::unsupportedTypes);
  } else if (isTooLarge(answer->begin()->value, body->size())) {
    refuse(id, ErrorCode::payloadTooLarge);
  } else {
    answerBytes_ += body->size() + kFrameHeaderSize;
    answers_.push_back({FrameType::reply, id, *std::move(body)});
  }
}

void Messages::refuse(std::uint64_t id, ErrorCode code) {
  answers_.push_back(
      {FrameType::messageError, id, writePropertyList(PlistDictionary{{"code", static_cast<int>(code)}})});
  answerBytes_ += kMostUnreadReplyBytes / kMostUnreadAnswers;
}

std::optional<Time> Messages::expiryOf(const PlistDictionary& body) const {
  const std::uint64_t timeToLive = numberIn(body, "ttl");
  if (timeToLive == 0 || timeToLive >= kForever) return std::nullopt;
  const Time now = strand_.now();
  const auto since = static_cast<std::uint64_t>(floor<milliseconds>(now - peerIntroduced_).count());
  const std::uint64_t sent = body.find("sent") != nullptr ? numberIn(body, "sent") : since;
  // However long it was on its way: in a buffer, behind a pause, while one of the two slept. But no two
  // clocks go alike.
  const std::uint64_t age = since - std::min(since, sent + since / kClockShare);
  return now + milliseconds(timeToLive) - milliseconds(age);
}

void Messages::didReceiveMessage(const Frame& frame) {
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const PlistValue* message = body ? body->find("message") : nullptr;
  const PlistValue* data = body ? body->find("data") : nullptr;
  const PlistDictionary* dictionary = message != nullptr ? message->dictionary() : nullptr;
  const std::optional<ByteView> bytes = data != nullptr ? data->bytes() : std::nullopt;
  const auto isWhole = [&](const char* key) {
    return body->find(key) == nullptr || wholeNumberIn(*body, key);
  };
  if ((dictionary == nullptr && !bytes) || !isWhole("ttl") || !isWhole("sent")) {
    refuse(frame.id, ErrorCode::unsupportedTypes);
    return;
  }
  if (isTooLarge(dictionary != nullptr ? *message : *data, frame.body.size())) {
    refuse(frame.id, ErrorCode::payloadTooLarge);
    return;
  }
  const std::optional<Time> expiry = expiryOf(*body);
  if (expiry && *expiry <= strand_.now()) {
    refuse(frame.id, ErrorCode::replyTimedOut);
    return;
  }
  const auto token = std::make_shared<ReplyToken>(mailbox_, connection_, frame.id);
  delivery_.deliver({.bytes = frame.body.size()}, [&strand = strand_, token, expiry, dictionary, bytes,
                                                   keep = *body](SessionDelegate& delegate) {
    if (expiry && *expiry <= strand.now()) {
      // The sender has given it up; a command must not run late.
      token->answer(std::nullopt, ErrorCode::replyTimedOut);
    } else if (dictionary != nullptr) {
      delegate.sessionDidReceiveMessage(*dictionary, [token](const PlistDictionary& reply) {
        token->answer(PlistDictionary{{"reply", reply}}, {});
      });
    } else {
      delegate.sessionDidReceiveMessageData(*bytes, [token](ByteView reply) {
        token->answer(PlistDictionary{{"data", reply}}, {});
      });
    }
  });
}

void Messages::didReceiveReply(const Frame& frame) {
  const auto waiting = waiting_.find(frame.id);
  if (waiting == waiting_.end() || frame.id >= nextToWrite_) return;  // late, or for nothing that was asked
  const bool isData = waiting->second.isData;
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const PlistValue* reply = body ? body->find(isData ? "data" : "reply") : nullptr;
  if (reply == nullptr ||
      reply->kind() != (isData ? PlistValue::Kind::bytes : PlistValue::Kind::dictionary)) {
    finish(waiting, ErrorCode::replyFailed);
    return;
  }
  if (isTooLarge(*reply, frame.body.size())) {
    finish(waiting, ErrorCode::payloadTooLarge);
    return;
  }
  const OutgoingMessage message = std::move(waiting->second);
  waiting_.erase(waiting);
  if (isData && message.dataReply) {
    delivery_.answer([handler = message.dataReply, value = *reply] { handler(*value.bytes()); });
  } else if (!isData && message.reply) {
    delivery_.answer([handler = message.reply, value = *reply] { handler(*value.dictionary()); });
  }
}

void Messages::didReceiveError(const Frame& frame) {
  const auto waiting = waiting_.find(frame.id);
  if (waiting == waiting_.end() || frame.id >= nextToWrite_) return;
  const std::optional<PlistDictionary> body = readBody(frame.body);
  finish(waiting, errorCodeFrom(body ? static_cast<long long>(numberIn(*body, "code")) : 0));
}

void Messages::watchDeadline() {
  deadlineTimer_.reset();
  if (waiting_.empty()) return;
  const Duration wait = waiting_.begin()->second.deadline - strand_.now();
  deadlineTimer_ = strand_.after(std::max(wait, Duration::zero()), [this] { expire(); });
}

void Messages::expire() {
  while (!waiting_.empty() && waiting_.begin()->second.deadline <= strand_.now()) {
    finish(waiting_.begin(), ErrorCode::replyTimedOut);
  }
  watchDeadline();
}

}  // namespace tunevale::link
