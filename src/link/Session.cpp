#include "link/Session.h"

#include <filesystem>

#include "foundation/PropertyList.h"
#include "link/SessionCore.h"

namespace tunevale::link {
namespace {

namespace fs = std::filesystem;

Error tooLarge() {
  return makeError(ErrorCode::payloadTooLarge);
}

/// An unused path in the spool folder for the copy of a file. Any thread.
std::string pathForCopy(const std::string& folder) {
  static std::atomic<std::uint64_t> copies = 0;
  return folder + "/out-" + std::to_string(++copies);
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
  core_->activate();
}
bool Session::isActivated() const {
  return core_->isActivated();
}
LinkState Session::state() const {
  return core_->state();
}

void Session::sendMessage(const PlistDictionary& message, ReplyHandler reply, ErrorHandler error) {
  OutgoingMessage out;
  out.body = writePropertyList(PlistDictionary{{"message", message}, {"ttl", asNumber(core_->timeToLive())}});
  out.reply = std::move(reply);
  out.error = std::move(error);
  const bool fits = out.body.size() <= kMostMessage + kBodyKeys;
  send(std::move(out), fits);
}

void Session::sendMessageData(ByteView data, DataReplyHandler reply, ErrorHandler error) {
  OutgoingMessage out;
  out.body = writePropertyList(PlistDictionary{{"data", data}, {"ttl", asNumber(core_->timeToLive())}});
  out.isData = true;
  out.dataReply = std::move(reply);
  out.error = std::move(error);
  send(std::move(out), data.size() <= kMostMessageData);
}

void Session::send(OutgoingMessage message, bool fits) {
  mailbox_->post([message = std::move(message), fits](SessionCore& core) mutable {
    if (fits) {
      core.send(std::move(message));
    } else {
      core.fail(std::move(message), ErrorCode::payloadTooLarge);
    }
  });
}

Session::Transfer Session::transferUserInfo(const PlistDictionary& userInfo) {
  if (!isActivated()) return makeError(ErrorCode::notActivated);
  Bytes body = writePropertyList(userInfo);
  if (body.size() > kMostUserInfo) return tooLarge();
  return append(Queue::items, std::move(body));
}

Session::Transfer Session::append(Queue queue, Bytes body) {
  const std::optional<std::uint64_t> number = core_->store().append(queue, std::move(body));
  if (!number) return makeError(ErrorCode::insufficientSpace);
  mailbox_->post([](SessionCore& core) { core.wake(); });
  return *number;
}

Session::Transfer Session::transferFile(const std::string& path, const PlistDictionary& metadata) {
  if (!isActivated()) return makeError(ErrorCode::notActivated);
  if (writePropertyList(metadata).size() > kMostMetadata) return tooLarge();
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return makeError(ErrorCode::fileAccessDenied);
  const std::uintmax_t size = fs::file_size(path, error);
  if (!error && size > kMostFile) return tooLarge();
  const std::string copy = pathForCopy(core_->options().spoolFolder);
  if (!fs::copy_file(path, copy, error)) {
    const bool full = error == std::errc::no_space_on_device;
    fs::remove(copy, error);
    return makeError(full ? ErrorCode::insufficientSpace : ErrorCode::fileAccessDenied);
  }
  const std::uintmax_t copied = fs::file_size(copy, error);  // it may have grown meanwhile
  if (error || copied > kMostFile) {
    fs::remove(copy, error);
    return tooLarge();
  }
  Transfer transfer = append(Queue::files, fileRow(copy, copied, metadata));
  if (std::holds_alternative<Error>(transfer)) fs::remove(copy, error);
  return transfer;
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
  Bytes body = writePropertyList(context);
  if (body.size() > kMostContext) return tooLarge();
  const MutexLock lock(contextMutex_);
  Row row = core_->store().context();
  if (row.number > 0 && row.body == body) return row.number;
  row.body = std::move(body);
  ++row.number;
  core_->store().setContext(row);
  mailbox_->post([](SessionCore& core) { core.wake(); });
  return row.number;
}

void Session::setActive(bool active) {
  mailbox_->post([active](SessionCore& core) { core.setActive(active); });
}

void Session::setLocked(bool locked) {
  mailbox_->post([locked](SessionCore& core) { core.setLocked(locked); });
}

void Session::adopt(std::unique_ptr<Stream> stream, bool opener, Closed closed) {
  core_->adopt(std::move(stream), opener, std::move(closed));
}

void Session::disconnect(const std::string& reason) {
  core_->disconnect(reason);
}

}  // namespace tunevale::link
