#pragma once

#include <string>

namespace tunevale::link {

/// Why something did not reach the other end. The numbers are part of the wire and of the log.
enum class ErrorCode {
  generic = 7001,
  notSupported = 7002,
  missingDelegate = 7003,
  notActivated = 7004,
  notPaired = 7005,
  appNotInstalled = 7006,
  notReachable = 7007,
  invalidParameter = 7008,
  payloadTooLarge = 7009,
  unsupportedTypes = 7010,
  replyFailed = 7011,
  replyTimedOut = 7012,
  fileAccessDenied = 7013,
  deliveryFailed = 7014,
  insufficientSpace = 7015,
  sessionInactive = 7016,
  transferTimedOut = 7017,
  companionNotInstalled = 7018,
  watchOnly = 7019,
};

struct Error {
  ErrorCode code = ErrorCode::generic;
  std::string description;
};

/// The error of a code, with the words that a person reads in a log. A number from the wire that is none of
/// the above becomes `generic`.
Error makeError(ErrorCode code);
ErrorCode errorCodeFrom(long long number);

}  // namespace tunevale::link
