#include "link/LinkErrors.h"

namespace tunevale::link {
namespace {

const char* words(ErrorCode code) {
  switch (code) {
    case ErrorCode::generic:
      return "The link failed";
    case ErrorCode::notSupported:
      return "This device cannot be paired";
    case ErrorCode::missingDelegate:
      return "The session has no delegate";
    case ErrorCode::notActivated:
      return "The session is not activated";
    case ErrorCode::notPaired:
      return "The devices are not paired";
    case ErrorCode::appNotInstalled:
      return "The application is not installed on the watch";
    case ErrorCode::notReachable:
      return "The other device is not reachable";
    case ErrorCode::invalidParameter:
      return "A parameter is not valid";
    case ErrorCode::payloadTooLarge:
      return "The payload is too large";
    case ErrorCode::unsupportedTypes:
      return "The payload holds values that cannot be sent";
    case ErrorCode::replyFailed:
      return "The other device gave no reply";
    case ErrorCode::replyTimedOut:
      return "The reply took too long";
    case ErrorCode::fileAccessDenied:
      return "The file cannot be read";
    case ErrorCode::deliveryFailed:
      return "The connection broke; the payload may have arrived";
    case ErrorCode::insufficientSpace:
      return "There is no room for the payload";
    case ErrorCode::sessionInactive:
      return "The session has ended";
    case ErrorCode::transferTimedOut:
      return "The transfer took too long";
    case ErrorCode::companionNotInstalled:
      return "The application is not installed on the phone";
    case ErrorCode::watchOnly:
      return "The application needs no phone";
  }
  return "The link failed";
}

}  // namespace

Error makeError(ErrorCode code) {
  return {code, words(code)};
}

ErrorCode errorCodeFrom(long long number) {
  const bool known =
      number >= static_cast<int>(ErrorCode::generic) && number <= static_cast<int>(ErrorCode::watchOnly);
  return known ? static_cast<ErrorCode>(number) : ErrorCode::generic;
}

}  // namespace tunevale::link
