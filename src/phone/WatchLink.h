#pragma once

#include <functional>
#include <optional>

#include "foundation/Bytes.h"
#include "foundation/PlistDictionary.h"
#include "link/LinkErrors.h"
#include "link/PairingAddress.h"

namespace tunevale::phone {

/// What became of something that the phone sent.
struct Outcome {
  std::optional<link::Error> error;  // nothing: answered, or safely with the watch
  PlistDictionary reply;             // of a message
  Bytes data;                        // of message data
};

/// The way to the watch, as PhoneApp wants it. Called on the phone's strand. Every `done` is called exactly
/// once, on the strand, never inside the call that it was given to; a link that goes away may drop it.
class WatchLink {
 public:
  using Done = std::function<void(const Outcome&)>;
  virtual ~WatchLink() = default;

  /// Done with the reply, or with error 7011 when the watch drops it.
  virtual void sendMessage(const PlistDictionary& message, Done done) = 0;
  virtual void sendMessageData(const Bytes& data, Done done) = 0;
  /// Done once the watch has it.
  virtual void transferUserInfo(const PlistDictionary& userInfo, Done done) = 0;
  /// Done once the watch has this context or a later one.
  virtual void updateApplicationContext(const PlistDictionary& context, Done done) = 0;
  virtual void transferFile(const Bytes& contents, const PlistDictionary& metadata, Done done) = 0;

  /// What this end tells of itself: whether it takes messages, and whether it waits to be unlocked.
  virtual void setActive(bool active) = 0;
  virtual void setLocked(bool locked) = 0;

  /// Who the watch is. A link that always has the same one does nothing.
  virtual void pair(const link::PairingAddress& /*address*/) {}
  virtual void answerPairing(std::string_view /*code*/, bool /*yes*/) {}
  virtual void unpair() {}
};

}  // namespace tunevale::phone
