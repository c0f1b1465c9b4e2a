#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/LinkRecording.h"
#include "platform/PhoneSession.h"
#include "platform/Queues.h"

namespace tunevale::host {

/// A phone session without a phone: brings what a recording says the phone sent, one after another. A request
/// of the watch that the recording knows, in that form, gets the answer that it got then, after as long;
/// every other fails as unreachable.
class ReplayPhoneSession : public PhoneSession {
 public:
  struct Options {
    std::vector<RecordedEvent> events;
    double speed = 1;               // times the recorded pace; 0: without pauses
    std::string receivedFile;       // the path of each received file while it is handled; this object's alone
    std::function<void()> changed;  // the phone's state has; main queue
    std::function<void()> ended;    // everything has been handled; main queue
  };
  /// What the phone sent is delivered on `delivery`. The main queue outlives this.
  ReplayPhoneSession(MainQueue& mainQueue, std::unique_ptr<SerialQueue> delivery, Options options);
  /// Runs what was delivered already. Main queue, or while that does not run.
  ~ReplayPhoneSession() override;

  /// Requests whose handler has not run yet. Any thread.
  std::size_t pendingRequests() const;

  bool isSupported() const override { return true; }
  void setDelegate(PhoneSessionDelegate* delegate) override;
  /// Starts the replay.
  void activateSession() override;
  ActivationState activationState() const override;
  bool isReachable() const override;
  bool iOSDeviceNeedsUnlockAfterRebootForReachability() const override;
  void sendMessage(PlistDictionary message, ReplyHandler replyHandler, ErrorHandler errorHandler) override;
  void sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tunevale::host
