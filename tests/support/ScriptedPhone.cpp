#include "support/ScriptedPhone.h"

#include <stdexcept>

namespace tunevale::test {

namespace {

template <class Sent>
auto takeHandlers(std::vector<Sent>& sent, std::size_t index) {
  auto& handlers = sent.at(index).handlers;
  if (!handlers) throw std::logic_error("a second answer to one message");
  auto taken = std::move(*handlers);
  handlers.reset();
  return taken;
}

}  // namespace

std::vector<PlistDictionary> ScriptedPhone::sentMessages() const {
  const MutexLock lock(mutex_);
  std::vector<PlistDictionary> sent;
  for (const auto& message : messages_) sent.push_back(message.payload);
  return sent;
}

std::vector<Bytes> ScriptedPhone::sentMessageData() const {
  const MutexLock lock(mutex_);
  std::vector<Bytes> sent;
  for (const auto& data : messageData_) sent.push_back(data.payload);
  return sent;
}

std::vector<PlistDictionary> ScriptedPhone::takeMessages() {
  const MutexLock lock(mutex_);
  std::vector<PlistDictionary> sent;
  for (; taken_ < messages_.size(); ++taken_) sent.push_back(messages_[taken_].payload);
  return sent;
}

std::size_t ScriptedPhone::lastMessage() const {
  const MutexLock lock(mutex_);
  if (messages_.empty()) throw std::out_of_range("no message was sent");
  return messages_.size() - 1;
}

void ScriptedPhone::reply(std::size_t index, PlistDictionary reply) {
  const MutexLock lock(mutex_);
  mainQueue_.async([to = takeHandlers(messages_, index), reply = std::move(reply)] {
    if (to.reply) to.reply(reply);
  });
}

void ScriptedPhone::fail(std::size_t index, SessionError error) {
  const MutexLock lock(mutex_);
  mainQueue_.async([to = takeHandlers(messages_, index), error = std::move(error)] {
    if (to.error) to.error(error);
  });
}

void ScriptedPhone::replyToData(std::size_t index, Bytes reply) {
  const MutexLock lock(mutex_);
  mainQueue_.async([to = takeHandlers(messageData_, index), reply = std::move(reply)] {
    if (to.reply) to.reply(reply);
  });
}

void ScriptedPhone::failData(std::size_t index, SessionError error) {
  const MutexLock lock(mutex_);
  mainQueue_.async([to = takeHandlers(messageData_, index), error = std::move(error)] {
    if (to.error) to.error(error);
  });
}

void ScriptedPhone::sendMessage(PlistDictionary message, ReplyHandler replyHandler,
                                ErrorHandler errorHandler) {
  const MutexLock lock(mutex_);
  messages_.push_back({std::move(message), {{std::move(replyHandler), std::move(errorHandler)}}});
}

void ScriptedPhone::sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) {
  const MutexLock lock(mutex_);
  messageData_.push_back({std::move(data), {{std::move(replyHandler), std::move(errorHandler)}}});
}

PhoneSessionDelegate& ScriptedPhone::delegate() const {
  if (delegate_ == nullptr) throw std::logic_error("the session has no delegate");
  return *delegate_;
}

void ScriptedPhone::completeActivation(ActivationState state, const std::optional<SessionError>& error) {
  state_ = state;
  delegate().sessionActivationDidCompleteWithState(*this, state, error);
}

ScriptedPhone::MessageAnswer ScriptedPhone::deliverMessage(const PlistDictionary& message) {
  auto answer = std::make_shared<Answer<PlistDictionary>>();
  delegate().sessionDidReceiveMessage(*this, message, [answer](const PlistDictionary& reply) {
    if (answer->count++ == 0) answer->reply = reply;
  });
  return answer;
}

ScriptedPhone::DataAnswer ScriptedPhone::deliverMessageData(ByteView data) {
  auto answer = std::make_shared<Answer<Bytes>>();
  delegate().sessionDidReceiveMessageData(*this, data, [answer](ByteView reply) {
    if (answer->count++ == 0) answer->reply = Bytes(reply.begin(), reply.end());
  });
  return answer;
}

void ScriptedPhone::deliverUserInfo(const PlistDictionary& userInfo) {
  delegate().sessionDidReceiveUserInfo(*this, userInfo);
}

void ScriptedPhone::deliverApplicationContext(const PlistDictionary& context) {
  delegate().sessionDidReceiveApplicationContext(*this, context);
}

void ScriptedPhone::deliverFile(const std::string& path, const PlistDictionary& metadata) {
  delegate().sessionDidReceiveFile(*this, {path, metadata});
}

void ScriptedPhone::finishUserInfoTransfer(const PlistDictionary& userInfo,
                                           const std::optional<SessionError>& error) {
  delegate().sessionDidFinishUserInfoTransfer(*this, {userInfo}, error);
}

}  // namespace tunevale::test
