#pragma once

#include <functional>
#include <string>

#include "foundation/Bytes.h"
#include "foundation/PlistDictionary.h"

namespace tunevale {

enum class ActivationState { notActivated = 0, inactive = 1, activated = 2 };

/// Why something failed on the way to the phone; the numbers are listed in docs/phone-link.md.
struct SessionError {
  int code = 0;
  std::string description;
};

class PhoneSessionDelegate;

/// The one paired-device session of the process. Operations may be called from any thread and return at once.
class PhoneSession {
 public:
  using ReplyHandler = std::function<void(const PlistDictionary& reply)>;
  using DataReplyHandler = std::function<void(ByteView reply)>;
  using ErrorHandler = std::function<void(const SessionError& error)>;
  virtual ~PhoneSession() = default;

  /// Whether this machine can be paired at all. When not, nothing below does anything.
  virtual bool isSupported() const = 0;
  /// The receiver of everything that arrives; set before activateSession() and alive from then on.
  virtual void setDelegate(PhoneSessionDelegate* delegate) = 0;
  /// Starts the session. Its completion comes to the delegate before anything else does. One for want of a
  /// paired phone (7005) is followed by another as soon as there is one.
  virtual void activateSession() = 0;
  virtual ActivationState activationState() const = 0;
  virtual bool isReachable() const = 0;
  /// True while the phone has restarted and waits to be unlocked.
  virtual bool iOSDeviceNeedsUnlockAfterRebootForReachability() const = 0;

  /// Sends a request. Exactly one of the handlers (either may be empty) is called, once, on the main queue,
  /// in the order of the answers; never inside this call.
  virtual void sendMessage(PlistDictionary message, ReplyHandler replyHandler, ErrorHandler errorHandler) = 0;
  virtual void sendMessageData(Bytes data, DataReplyHandler replyHandler, ErrorHandler errorHandler) = 0;
};

}  // namespace tunevale
