#pragma once

#include <functional>
#include <optional>

#include "platform/PhoneSession.h"

namespace tunevale {

/// A file that arrived. It lies at `path` until the callback that brings it returns.
struct ReceivedFile {
  std::string path;
  PlistDictionary metadata;
};

/// A user-info transfer of ours that ended.
struct UserInfoTransfer {
  PlistDictionary userInfo;
};

/// Receives what the phone sends, one call at a time, on the session's delivery queue. Calls that a class has
/// no use for do nothing.
class PhoneSessionDelegate {
 public:
  /// Answers a message. At most one call counts; dropping every copy uncalled tells the phone that no reply
  /// comes.
  using MessageReply = std::function<void(const PlistDictionary& reply)>;
  using DataReply = std::function<void(ByteView reply)>;
  virtual ~PhoneSessionDelegate() = default;

  virtual void sessionActivationDidCompleteWithState(PhoneSession& session, ActivationState state,
                                                     const std::optional<SessionError>& error) = 0;
  virtual void sessionDidBecomeInactive(PhoneSession&) {}
  virtual void sessionDidDeactivate(PhoneSession&) {}
  virtual void sessionDidReceiveMessage(PhoneSession&, const PlistDictionary& /*message*/,
                                        const MessageReply& /*replyHandler*/) {}
  virtual void sessionDidReceiveMessageData(PhoneSession&, ByteView /*messageData*/,
                                            const DataReply& /*replyHandler*/) {}
  virtual void sessionDidReceiveUserInfo(PhoneSession&, const PlistDictionary& /*userInfo*/) {}
  virtual void sessionDidReceiveApplicationContext(PhoneSession&, const PlistDictionary& /*context*/) {}
  virtual void sessionDidReceiveFile(PhoneSession&, const ReceivedFile& /*file*/) {}
  virtual void sessionDidFinishUserInfoTransfer(PhoneSession&, const UserInfoTransfer& /*transfer*/,
                                                const std::optional<SessionError>& /*error*/) {}
};

}  // namespace tunevale
