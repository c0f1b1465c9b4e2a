#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "link/Endpoint.h"
#include "link/Identity.h"
#include "link/LinkLimits.h"
#include "platform/PhoneSession.h"
#include "platform/Queues.h"

namespace tunevale::host {

class PairingControl;
struct RecordedEvent;

/// The phone session over the paired link. The watch listens, the paired phone connects. With a paired phone
/// the session is activated from activateSession() on, whether or not the phone is there, which isReachable()
/// tells, until it is unpaired. Without one, activation completes with error 7005, and once more, activated,
/// whenever one is paired.
class LinkPhoneSession : public PhoneSession {
 public:
  struct Options {
    link::Endpoint listenOn;
    /// Key, pairing, queues and received files are here, for this session alone; made where it is missing.
    std::string folder;
    /// Activation waits for a phone that is near, so that the extension's greeting finds it.
    link::Timing timing{.activation = std::chrono::seconds(1)};
    /// A line for the log; any thread. May be empty.
    std::function<void(const std::string&)> log{};
    /// Hears of what the platform's delegate has no call for: finished files, queue reset, unpaired. On
    /// `delivery`. May be empty.
    std::function<void(const RecordedEvent&)> happened{};
  };
  struct State {
    bool activated = false;
    bool reachable = false;
    bool locked = false;
  };

  /// Takes the address at once. Throws std::runtime_error with a reason of one line when it, or the folder,
  /// cannot be used.
  /// What arrives runs on `delivery`; the main queue outlives the session.
  LinkPhoneSession(MainQueue& mainQueue, std::unique_ptr<SerialQueue> delivery, Options options);
  /// Runs what was delivered already. On the main queue, or while that does not run.
  ~LinkPhoneSession() override;

  /// The port listened on, also when the system chose it.
  std::uint16_t port() const;
  State state() const;  // any thread
  /// Who the phone is, and how it becomes another one. Lives as long as the session.
  PairingControl& pairing();
  /// This end's key.
  const link::KeyHash& keyHash() const;
  /// Called on the main queue after the state, or what is known of pairing, has changed. Set it before
  /// activateSession().
  void setChangeHandler(std::function<void()> handler);
  /// Requests whose handler has not run yet. Any thread.
  std::size_t pendingRequests() const;

  bool isSupported() const override { return true; }
  void setDelegate(PhoneSessionDelegate* delegate) override;
  void activateSession() override;
  ActivationState activationState() const override;
  bool isReachable() const override;
  bool iOSDeviceNeedsUnlockAfterRebootForReachability() const override;
  void sendMessage(PlistDictionary message, ReplyHandler replyHandler, ErrorHandler errorHandler) override;
  void sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) override;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tunevale::host
