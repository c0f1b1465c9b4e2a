#pragma once

#include <atomic>

#include "host/Recorder.h"
#include "platform/PhoneSessionDelegate.h"

namespace tunevale::host {

/// A phone session that notes everything that passes through another one; what happens on the link and is not
/// told to a delegate, its owner adds to the recorder. Both, and the recorder, live as
/// long as anything may still pass.
class RecordingPhoneSession : public PhoneSession, private PhoneSessionDelegate {
 public:
  RecordingPhoneSession(PhoneSession& session, Recorder& recorder) : session_(session), recorder_(recorder) {}
  /// The phone's state may have changed. Main queue.
  void noteState();

  bool isSupported() const override { return session_.isSupported(); }
  void setDelegate(PhoneSessionDelegate* delegate) override;
  void activateSession() override { session_.activateSession(); }
  ActivationState activationState() const override { return session_.activationState(); }
  bool isReachable() const override { return session_.isReachable(); }
  bool iOSDeviceNeedsUnlockAfterRebootForReachability() const override {
    return session_.iOSDeviceNeedsUnlockAfterRebootForReachability();
  }
  void sendMessage(PlistDictionary message, ReplyHandler replyHandler, ErrorHandler errorHandler) override;
  void sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) override;

 private:
  void sessionActivationDidCompleteWithState(PhoneSession&, ActivationState state,
                                             const std::optional<SessionError>& error) override;
  void sessionDidReceiveMessage(PhoneSession&, const PlistDictionary& message,
                                const MessageReply& reply) override;
  void sessionDidReceiveMessageData(PhoneSession&, ByteView data, const DataReply& reply) override;
  void sessionDidReceiveUserInfo(PhoneSession&, const PlistDictionary& userInfo) override;
  void sessionDidReceiveApplicationContext(PhoneSession&, const PlistDictionary& context) override;
  void sessionDidReceiveFile(PhoneSession&, const ReceivedFile& file) override;
  void sessionDidFinishUserInfoTransfer(PhoneSession&, const UserInfoTransfer& transfer,
                                        const std::optional<SessionError>& error) override;
  ErrorHandler noted(std::uint64_t request, ErrorHandler handler);

  PhoneSession& session_;
  Recorder& recorder_;
  PhoneSessionDelegate* delegate_ = nullptr;
  std::atomic<std::uint64_t> next_ = 1;  // messages and requests, numbered together
  bool reachable_ = false;               // as noted last; main queue
  bool locked_ = false;
};

}  // namespace tunevale::host
