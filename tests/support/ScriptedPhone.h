#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/PhoneSessionDelegate.h"
#include "platform/Queues.h"

namespace tunevale::test {

/// A phone that does what the test says. It starts supported, not activated, reachable and unlocked.
class ScriptedPhone : public PhoneSession {
 public:
  /// What the watch answered to a message: nothing yet, or its first reply and the number of replies.
  template <class Reply>
  struct Answer {
    std::optional<Reply> reply;
    int count = 0;
  };
  using MessageAnswer = std::shared_ptr<const Answer<PlistDictionary>>;
  using DataAnswer = std::shared_ptr<const Answer<Bytes>>;

  explicit ScriptedPhone(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  // The state that the watch sees. Any thread.
  void setSupported(bool supported) { supported_ = supported; }
  void setActivationState(ActivationState state) { state_ = state; }
  void setReachable(bool reachable) { reachable_ = reachable; }
  void setLocked(bool locked) { locked_ = locked; }

  // What the watch sent, by kind, each in its order; and the same once more for what came since the last
  // take.
  std::vector<PlistDictionary> sentMessages() const;
  std::vector<Bytes> sentMessageData() const;
  std::vector<PlistDictionary> takeMessages();
  int activations() const { return activations_; }

  // Answers to the message with that index: the handler is submitted to the main queue, in the order of these
  // calls. Throw std::out_of_range for an index that is not there, std::logic_error for a second answer.
  void reply(std::size_t index, PlistDictionary reply);
  void fail(std::size_t index, SessionError error);
  void replyToData(std::size_t index, Bytes reply);
  void failData(std::size_t index, SessionError error);
  /// Index of the latest message; throws std::out_of_range when there is none.
  std::size_t lastMessage() const;

  // Brings something to the delegate before it returns, on the calling thread as the delivery queue. Throw
  // std::logic_error without a delegate.
  void completeActivation(ActivationState state = ActivationState::activated,
                          const std::optional<SessionError>& error = std::nullopt);
  MessageAnswer deliverMessage(const PlistDictionary& message);
  DataAnswer deliverMessageData(ByteView data);
  void deliverUserInfo(const PlistDictionary& userInfo);
  void deliverApplicationContext(const PlistDictionary& context);
  void deliverFile(const std::string& path, const PlistDictionary& metadata);
  void finishUserInfoTransfer(const PlistDictionary& userInfo, const std::optional<SessionError>& error);

  bool isSupported() const override { return supported_; }
  void setDelegate(PhoneSessionDelegate* delegate) override { delegate_ = delegate; }
  void activateSession() override { ++activations_; }
  ActivationState activationState() const override { return state_; }
  bool isReachable() const override { return reachable_; }
  bool iOSDeviceNeedsUnlockAfterRebootForReachability() const override { return locked_; }
  void sendMessage(PlistDictionary message, ReplyHandler replyHandler, ErrorHandler errorHandler) override;
  void sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) override;

  PhoneSessionDelegate& delegate() const;

 private:
  template <class Handler>
  struct Handlers {
    Handler reply;
    ErrorHandler error;
  };
  template <class Payload, class Handler>
  struct Sent {
    Payload payload;
    std::optional<Handlers<Handler>> handlers;  // until it is answered
  };

  MainQueue& mainQueue_;
  std::atomic<bool> supported_ = true;
  std::atomic<ActivationState> state_ = ActivationState::notActivated;
  std::atomic<bool> reachable_ = true;
  std::atomic<bool> locked_ = false;
  std::atomic<int> activations_ = 0;
  std::atomic<PhoneSessionDelegate*> delegate_ = nullptr;
  mutable Mutex mutex_;
  std::vector<Sent<PlistDictionary, ReplyHandler>> messages_ GUARDED_BY(mutex_);
  std::vector<Sent<Bytes, DataReplyHandler>> messageData_ GUARDED_BY(mutex_);
  std::size_t taken_ GUARDED_BY(mutex_) = 0;
};

}  // namespace tunevale::test
