#include "host/RecordingPhoneSession.h"

#include "host/PosixFiles.h"

namespace tunevale::host {

using EventKind = RecordedEvent::Kind;

void RecordingPhoneSession::noteState() {
  const bool reachable = isReachable();
  const bool locked = iOSDeviceNeedsUnlockAfterRebootForReachability();
  if (reachable == reachable_ && locked == locked_) return;
  reachable_ = reachable;
  locked_ = locked;
  recorder_.add({.kind = EventKind::state, .reachable = reachable, .locked = locked});
}

void RecordingPhoneSession::setDelegate(PhoneSessionDelegate* delegate) {
  delegate_ = delegate;
  session_.setDelegate(this);
}

void RecordingPhoneSession::sendMessage(PlistDictionary message, ReplyHandler replyHandler,
                                        ErrorHandler errorHandler) {
  const std::uint64_t id = next_++;
  recorder_.add({.kind = EventKind::request, .id = id, .body = message});
  session_.sendMessage(
      std::move(message),
      [this, id, handler = std::move(replyHandler)](const PlistDictionary& reply) {
        recorder_.add({.kind = EventKind::answer, .id = id, .body = reply});
        if (handler) handler(reply);
      },
      noted(id, std::move(errorHandler)));
}

void RecordingPhoneSession::sendMessageData(Bytes data, DataReplyHandler replyHandler,
                                            ErrorHandler errorHandler) {
  const std::uint64_t id = next_++;
  recorder_.add({.kind = EventKind::dataRequest, .id = id, .data = data});
  session_.sendMessageData(
      std::move(data),
      [this, id, handler = std::move(replyHandler)](ByteView reply) {
        recorder_.add({.kind = EventKind::dataAnswer, .id = id, .data = Bytes(reply.begin(), reply.end())});
        if (handler) handler(reply);
      },
      noted(id, std::move(errorHandler)));
}

PhoneSession::ErrorHandler RecordingPhoneSession::noted(std::uint64_t request, ErrorHandler handler) {
  return [this, request, handler = std::move(handler)](const SessionError& error) {
    recorder_.add({.kind = EventKind::failure, .id = request, .error = error});
    if (handler) handler(error);
  };
}

void RecordingPhoneSession::sessionActivationDidCompleteWithState(PhoneSession&, ActivationState state,
                                                                  const std::optional<SessionError>& error) {
  recorder_.add({.kind = EventKind::activation, .error = error.value_or(SessionError{})});
  delegate_->sessionActivationDidCompleteWithState(*this, state, error);
}

void RecordingPhoneSession::sessionDidReceiveMessage(PhoneSession&, const PlistDictionary& message,
                                                     const MessageReply& reply) {
  const std::uint64_t id = next_++;
  recorder_.add({.kind = EventKind::message, .id = id, .body = message});
  delegate_->sessionDidReceiveMessage(*this, message, [this, id, reply](const PlistDictionary& body) {
    recorder_.add({.kind = EventKind::reply, .id = id, .body = body});
    reply(body);
  });
}

void RecordingPhoneSession::sessionDidReceiveMessageData(PhoneSession&, ByteView data,
                                                         const DataReply& reply) {
  const std::uint64_t id = next_++;
  recorder_.add({.kind = EventKind::messageData, .id = id, .data = Bytes(data.begin(), data.end())});
  delegate_->sessionDidReceiveMessageData(*this, data, [this, id, reply](ByteView body) {
    recorder_.add({.kind = EventKind::dataReply, .id = id, .data = Bytes(body.begin(), body.end())});
    reply(body);
  });
}

void RecordingPhoneSession::sessionDidReceiveUserInfo(PhoneSession&, const PlistDictionary& userInfo) {
  recorder_.add({.kind = EventKind::userInfo, .body = userInfo});
  delegate_->sessionDidReceiveUserInfo(*this, userInfo);
}

void RecordingPhoneSession::sessionDidReceiveApplicationContext(PhoneSession&,
                                                                const PlistDictionary& context) {
  recorder_.add({.kind = EventKind::context, .body = context});
  delegate_->sessionDidReceiveApplicationContext(*this, context);
}

void RecordingPhoneSession::sessionDidReceiveFile(PhoneSession&, const ReceivedFile& file) {
  recorder_.add({.kind = EventKind::file,
                 .body = file.metadata,
                 .data = PosixFiles().contentsAtPath(file.path).value_or(Bytes{})});
  delegate_->sessionDidReceiveFile(*this, file);
}

void RecordingPhoneSession::sessionDidFinishUserInfoTransfer(PhoneSession&, const UserInfoTransfer& transfer,
                                                             const std::optional<SessionError>& error) {
  recorder_.add({.kind = EventKind::userInfoFinished,
                 .body = transfer.userInfo,
                 .error = error.value_or(SessionError{})});
  delegate_->sessionDidFinishUserInfoTransfer(*this, transfer, error);
}

}  // namespace tunevale::host
