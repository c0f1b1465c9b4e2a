#pragma once

#include "phone/Answer.h"
#include "phone/PhoneState.h"
#include "phone/Pushes.h"

namespace tunevale::phone {

/// Answers what the watch asks for. Effects are on the phone's state; pushes are wanted, not yet sent.
class Requests {
 public:
  Requests(PhoneState& state, Pushes& pushes) : state_(state), pushes_(pushes) {}

  Answer answer(const PlistDictionary& message);
  DataAnswer answerData(ByteView data);

 private:
  /// Notices tell of something that is so; they take effect however the phone is disposed.
  bool notice(std::string_view name);
  PlistDictionary reply(std::string_view name, const PlistDictionary& message);
  PlistDictionary currentPlayingSong() const;
  PlistDictionary downloadSong(const PlistDictionary& message);
  PlistDictionary playWeeklyTop15(const PlistDictionary& message);
  PlistDictionary playRadio(const PlistDictionary& message);
  PlistDictionary playMedia(const PlistDictionary& message);
  PlistDictionary volume(const PlistDictionary& message);
  /// Runs a player operation if there is something to play.
  PlistDictionary withQueue(void (Player::*operation)());

  PhoneState& state_;
  Pushes& pushes_;
};

/// What the phone says when it does not understand a request, and when it has nothing to play.
inline constexpr std::string_view kUnknownRequest = "This phone does not know that request.";
inline constexpr std::string_view kNothingToPlay = "Nothing to play. Choose a song first.";

}  // namespace tunevale::phone
