#pragma once

#include <functional>
#include <optional>
#include <string>

#include "foundation/PlistDictionary.h"
#include "link/LinkErrors.h"

namespace tunevale::link {

/// What an end knows of the other.
struct LinkState {
  bool connected = false;    // introduced, both ends know where the queues stand
  bool reachable = false;    // connected, and the other end takes messages
  bool needsUnlock = false;  // the other end's last word
  std::string peerRun;       // changes when the other end's process is a new one; empty before the first

  friend bool operator==(const LinkState&, const LinkState&) = default;
};

/// Receives what the other end sends, one call at a time, on the session's delivery executor, and what
/// becomes of transfers. An item or a file whose handler throws is given again, three times at most.
class SessionDelegate {
 public:
  /// Answers a message: the first call counts. Dropping every copy uncalled tells the other end that no reply
  /// comes. Any thread; may outlive the session.
  using MessageReply = std::function<void(const PlistDictionary& reply)>;
  using DataReply = std::function<void(ByteView reply)>;
  virtual ~SessionDelegate() = default;

  /// Comes before everything else.
  virtual void sessionDidActivate() {}
  virtual void sessionDidReceiveMessage(const PlistDictionary& /*message*/, const MessageReply& /*reply*/) {}
  virtual void sessionDidReceiveMessageData(ByteView /*data*/, const DataReply& /*reply*/) {}
  virtual void sessionDidReceiveUserInfo(const PlistDictionary& /*userInfo*/) {}
  virtual void sessionDidReceiveApplicationContext(const PlistDictionary& /*context*/) {}
  /// The file is removed when this returns.
  virtual void sessionDidReceiveFile(const std::string& /*path*/, const PlistDictionary& /*metadata*/) {}

  /// The other end has it, or never will.
  virtual void sessionDidFinishUserInfoTransfer(std::uint64_t /*number*/, const PlistDictionary& /*userInfo*/,
                                                const std::optional<Error>& /*error*/) {}
  virtual void sessionDidFinishFileTransfer(std::uint64_t /*number*/, const std::optional<Error>& /*error*/) {
  }
  /// The other end has the application context of this version or a later one.
  virtual void sessionDidDeliverApplicationContext(std::uint64_t /*version*/) {}
  /// The other end's queues were lost or put back; what it had queued before is gone.
  virtual void sessionDidResetQueues() {}

  /// On the answer executor, at most every 250 ms; the last state is always told.
  virtual void sessionStateDidChange(const LinkState& /*state*/) {}
};

}  // namespace tunevale::link
