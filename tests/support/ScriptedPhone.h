#pragma once

#include <atomic>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/PhoneSessionDelegate.h"
#include "platform/Queues.h"

namespace tunevale::test {

/// A phone that does what the test says. It starts supported, not activated, reachable and unlocked. Its
/// state may be set from any thread; all else is for the thread of the main queue.
class ScriptedPhone : public PhoneSession {
 public:
  /// What the watch answered to a message: nothing yet, or its first reply and the number of replies.
  template <class Reply>
  struct Answer {
    void take(const Reply& answered) {
      if (count++ == 0) reply = answered;
    }
    std::optional<Reply> reply;
    int count = 0;
  };
  using DataAnswer = std::shared_ptr<const Answer<Bytes>>;

  explicit ScriptedPhone(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  // The state that the watch sees.
  void setSupported(bool supported) { supported_ = supported; }
  void setActivationState(ActivationState state) { state_ = state; }
  void setReachable(bool reachable) { reachable_ = reachable; }
  void setLocked(bool locked) { locked_ = locked; }

  // What the watch sent, by kind, each in its order; and the same once more for what came since the last
  // take.
  const std::vector<PlistDictionary>& sentMessages() const { return messages_.payloads; }
  const std::vector<Bytes>& sentMessageData() const { return messageData_.payloads; }
  std::vector<PlistDictionary> takeMessages() {
    const auto from = messages_.payloads.begin() + std::exchange(taken_, std::ssize(messages_.payloads));
    return {from, messages_.payloads.end()};
  }
  int activations() const { return activations_; }

  // Answers to the message with that index: the handler is submitted to the main queue, in the order of these
  // calls. Throw std::out_of_range for an index that is not there, std::bad_optional_access for a second
  // answer.
  void reply(std::size_t index, const PlistDictionary& reply) { answer<0>(messages_, index, reply); }
  void fail(std::size_t index, const SessionError& error) { answer<1>(messages_, index, error); }
  void replyToData(std::size_t index, const Bytes& reply) { answer<0>(messageData_, index, reply); }
  void failData(std::size_t index, const SessionError& error) { answer<1>(messageData_, index, error); }
  /// Lets every message fail that is not answered yet.
  void failAll(const SessionError& error) {
    for (std::size_t i = 0; i < messages_.handlers.size(); ++i) {
      if (messages_.handlers[i]) fail(i, error);
    }
  }
  /// Index of the latest message.
  std::size_t lastMessage() const { return messages_.payloads.size() - 1; }

  // Brings something to the delegate before it returns, on the calling thread as the delivery queue. Throw
  // std::logic_error without a delegate.
  void completeActivation(ActivationState state = ActivationState::activated,
                          const std::optional<SessionError>& error = std::nullopt) {
    state_ = state;
    delegate().sessionActivationDidCompleteWithState(*this, state, error);
  }
  std::shared_ptr<const Answer<PlistDictionary>> deliverMessage(const PlistDictionary& message) {
    auto answer = std::make_shared<Answer<PlistDictionary>>();
    delegate().sessionDidReceiveMessage(*this, message, [answer](const auto& reply) { answer->take(reply); });
    return answer;
  }
  DataAnswer deliverMessageData(ByteView data) {
    auto answer = std::make_shared<Answer<Bytes>>();
    delegate().sessionDidReceiveMessageData(*this, data, [answer](ByteView reply) {
      answer->take({reply.begin(), reply.end()});
    });
    return answer;
  }
  void deliverUserInfo(const PlistDictionary& info) { delegate().sessionDidReceiveUserInfo(*this, info); }
  void deliverApplicationContext(const PlistDictionary& context) {
    delegate().sessionDidReceiveApplicationContext(*this, context);
  }
  void deliverFile(const std::string& path, const PlistDictionary& metadata) {
    delegate().sessionDidReceiveFile(*this, {path, metadata});
  }
  void finishUserInfoTransfer(const PlistDictionary& info, const std::optional<SessionError>& error) {
    delegate().sessionDidFinishUserInfoTransfer(*this, {info}, error);
  }

  bool isSupported() const override { return supported_; }
  void setDelegate(PhoneSessionDelegate* delegate) override { delegate_ = delegate; }
  void activateSession() override { ++activations_; }
  ActivationState activationState() const override { return state_; }
  bool isReachable() const override { return reachable_; }
  bool iOSDeviceNeedsUnlockAfterRebootForReachability() const override { return locked_; }
  void sendMessage(PlistDictionary message, ReplyHandler reply, ErrorHandler error) override {
    onSend(message);
    messages_.payloads.push_back(std::move(message));
    messages_.handlers.push_back({{std::move(reply), std::move(error)}});
  }
  void sendMessageData(Bytes data, DataReplyHandler reply, ErrorHandler error) override {
    messageData_.payloads.push_back(std::move(data));
    messageData_.handlers.push_back({{std::move(reply), std::move(error)}});
  }

  /// Called before each message of the watch is taken.
  std::function<void(const PlistDictionary& message)> onSend = [](const PlistDictionary&) {};

  PhoneSessionDelegate& delegate() const {
    if (delegate_ == nullptr) throw std::logic_error("the session has no delegate");
    return *delegate_;
  }

 private:
  template <class Payload, class Handler>
  struct Sent {
    std::vector<Payload> payloads;
    std::vector<std::optional<std::pair<Handler, ErrorHandler>>> handlers;  // nothing once it is answered
  };
  template <std::size_t handler>
  void answer(auto& sent, std::size_t index, const auto& with) {
    auto handlers = std::exchange(sent.handlers.at(index), std::nullopt).value();
    mainQueue_.async([handle = std::get<handler>(std::move(handlers)), with] {
      if (handle) handle(with);
    });
  }

  MainQueue& mainQueue_;
  std::atomic<bool> supported_ = true;
  std::atomic<ActivationState> state_ = ActivationState::notActivated;
  std::atomic<bool> reachable_ = true;
  std::atomic<bool> locked_ = false;
  int activations_ = 0;
  PhoneSessionDelegate* delegate_ = nullptr;
  Sent<PlistDictionary, ReplyHandler> messages_;
  Sent<Bytes, DataReplyHandler> messageData_;
  std::ptrdiff_t taken_ = 0;
};

}  // namespace tunevale::test
