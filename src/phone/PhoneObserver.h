#pragma once

#include <string>

namespace tunevale::phone {

/// Hears what happens in the phone. Called on the phone's strand; may not call the phone back.
class PhoneObserver {
 public:
  virtual ~PhoneObserver() = default;
  /// One event as one line of JSON, without its line end.
  virtual void phoneDidEmit(const std::string& /*event*/) {}
  /// Something that consoleState() tells is another than before (the position of what plays aside).
  virtual void phoneDidChange() {}
  /// A script asked the program to end.
  virtual void phoneDidQuit() {}
};

}  // namespace tunevale::phone
