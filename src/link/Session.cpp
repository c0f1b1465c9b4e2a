#include "link/Session.h"

#include "foundation/PropertyList.h"
#include "link/SessionCore.h"

namespace tunevale::link {
namespace {

std::variant<Bytes, ErrorCode> encoded(const PlistDictionary& payload, std::size_t most) {
  std::optional<Bytes> body = writeWholePropertyList(payload);
  if (!body) return ErrorCode::unsupportedTypes;
  if (body->size() > most) return ErrorCode::payloadTooLarge;
  return *std::move(body);
}

/// Why a dictionary cannot go beside a file.
std::optional<ErrorCode> objectionTo(const PlistDictionary& metadata) {
  const std::optional<Bytes> body = writeWholePropertyList(PlistDictionary{{"p", metadata}});
  if (!body) return ErrorCode::unsupportedTypes;
  if (isLargerThan(kMostMetadata, metadata, body->size())) return ErrorCode::payloadTooLarge;
  return std::nullopt;
}

}  // namespace

Session::Session(Strand& strand, LinkStore& store, SessionOptions options, SessionDelegate& delegate,
                 Executor deliver, Executor answer)
    : mailbox_(std::make_shared<Mailbox>(strand)),
      core_(std::make_unique<SessionCore>(strand, store, std::move(options), delegate, std::move(deliver),
                                          std::move(answer), mailbox_)) {
  mailbox_->open(*core_);
}

Session::~Session() {
  mailbox_->close();
}

void Session::activate() {
  if (core_->activate()) mailbox_->post([](SessionCore& core) { core.beginActivation(); });
}
bool Session::isActivated() const {
  return core_->isActivated();
}
LinkState Session::state() const {
  return core_->state();
}

void Session::sendMessage(const PlistDictionary& message, ReplyHandler reply, ErrorHandler error) {
  OutgoingMessage out;
  out.payload = message;
  out.reply = std::move(reply);
  out.error = std::move(error);
  send(std::move(out));
}

void Session::sendMessageData(ByteView data, DataReplyHandler reply, ErrorHandler error) {
  OutgoingMessage out;
  out.payload = data;
  out.isData = true;
  out.dataReply = std::move(reply);
  out.error = std::move(error);
  send(std::move(out));
}

void Session::send(OutgoingMessage message) {
  message.deadline = core_->replyDeadline();
  mailbox_->post(
      [message = std::move(message)](SessionCore& core) mutable { core.send(std::move(message)); });
}

Session::Transfer Session::transferUserInfo(const PlistDictionary& userInfo) {
  if (!isActivated()) return makeError(ErrorCode::notActivated);
  const std::variant<Bytes, ErrorCode> body = encoded(userInfo, kMostUserInfo);
  if (const ErrorCode* error = std::get_if<ErrorCode>(&body)) return makeError(*error);
  const std::optional<std::uint64_t> number = core_->store().append(Queue::items, std::get<Bytes>(body));
  if (!number) return makeError(ErrorCode::insufficientSpace);
  wake();
  return *number;
}

Session::Transfer Session::transferFile(const std::string& path, const PlistDictionary& metadata) {
  if (!isActivated()) return makeError(ErrorCode::notActivated);
  if (path.empty()) return makeError(ErrorCode::invalidParameter);
  if (const std::optional<ErrorCode> error = objectionTo(metadata)) return makeError(*error);
  const std::variant<std::uint64_t, ErrorCode> queued = core_->files().queue(path, metadata);
  if (const ErrorCode* error = std::get_if<ErrorCode>(&queued)) return makeError(*error);
  wake();
  return std::get<std::uint64_t>(queued);
}

void Session::wake() {
  mailbox_->post([](SessionCore& core) { core.wake(); });
}

void Session::cancelUserInfo(std::uint64_t number) {
  mailbox_->post([number](SessionCore& core) { core.items().cancel(number); });
}

void Session::cancelFile(std::uint64_t number) {
  mailbox_->post([number](SessionCore& core) {
    core.files().cancel(number);
    core.wake();
  });
}

Session::Transfer Session::updateApplicationContext(const PlistDictionary& context) {
  if (!isActivated()) return makeError(ErrorCode::notActivated);
  std::variant<Bytes, ErrorCode> body = encoded(context, kMostContext);
  if (const ErrorCode* error = std::get_if<ErrorCode>(&body)) return makeError(*error);
  Row row;
  {
    const MutexLock lock(contextMutex_);
    row = core_->store().context();
    if (row.number > 0 && row.body == std::get<Bytes>(body)) return row.number;
    row.body = std::get<Bytes>(std::move(body));
    ++row.number;
    if (!core_->store().setContext(row)) return makeError(ErrorCode::insufficientSpace);
  }
  wake();
  return row.number;
}

void Session::setActive(bool active) {
  mailbox_->post([active](SessionCore& core) { core.setActive(active); });
}

void Session::setLocked(bool locked) {
  mailbox_->post([locked](SessionCore& core) { core.setLocked(locked); });
}

std::optional<Error> Session::unpair() {
  const std::optional<LinkStore::Unsent> unsent = core_->store().unpair();
  if (!unsent) return makeError(ErrorCode::insufficientSpace);
  mailbox_->post([unsent = *unsent](SessionCore& core) { core.didUnpair(unsent, true); });
  return std::nullopt;
}

void Session::pinDidChange(const LinkStore::Unsent& former) {
  if (former.wasPaired) core_->didUnpair(former, true);
}

void Session::adopt(std::unique_ptr<Stream> stream, bool opener, Closed closed) {
  core_->adopt(std::move(stream), opener, std::move(closed));
}

void Session::disconnect(const std::string& reason) {
  core_->disconnect(reason);
}

}  // namespace tunevale::link
