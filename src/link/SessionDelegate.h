#pragma once

#include <functional>
#include <optional>
#include <string>

#include "foundation/PlistDictionary.h"
#include "link/LinkErrors.h"
#include "link/StoreTypes.h"

namespace tunevale::link {

/// What an end knows of the other.
struct LinkState {
  bool connected = false;    // introduced, both ends know where the queues stand
  bool reachable = false;    // connected, and the other end takes messages
  bool needsUnlock = false;  // the other end's last word, also from an earlier process
  std::string peerRun;       // changes when the other end's process is a new one; empty before the first

  friend bool operator==(const LinkState&, const LinkState&) = default;
};

/// Receives what the other end sends, one call at a time, on the session's delivery executor, and what
/// becomes of transfers. After sessionDidActivate() comes what an earlier process received and did not
/// handle: the context, user infos, files; then what is new. An item or a file whose handler throws is given
/// again, three times at most; one whose process died in the handler, or right after it, is given again by
/// the next.
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
  /// The next call is a user info, a context or a file, and this is which. A handler whose effect must not
  /// come twice keeps the epoch and number beside its effect, and skips what is `again` and not above them.
  virtual void sessionWillReceive(const Arrival& /*arrival*/) {}
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
  /// The queues of one end were lost or put back to an earlier state: what the other end had queued before,
  /// or what it had received and not handled yet, may be gone.
  virtual void sessionDidResetQueues() {}
  /// One of the two ends has ended the pairing. Transfers that were under way have finished with 7005.
  virtual void sessionDidUnpair() {}

  /// On the answer executor, at most every 250 ms; the last state is always told.
  virtual void sessionStateDidChange(const LinkState& /*state*/) {}
};

}  // namespace tunevale::link
