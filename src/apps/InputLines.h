#pragma once

#include <functional>
#include <string_view>
#include <thread>

namespace tunevale {

/// Reads standard input on a thread of its own, whatever it is: a terminal, a pipe, a file.
class InputLines {
 public:
  struct Handlers {
    std::function<void(std::string_view line)> line;
    std::function<void()> tooLong;
    std::function<void()> end;  // of the input
  };
  /// The handlers are called on that thread.
  explicit InputLines(Handlers handlers);
  /// Stops reading.
  ~InputLines();
  InputLines(const InputLines&) = delete;
  InputLines& operator=(const InputLines&) = delete;

 private:
  void read(const Handlers& handlers) const;

  int wake_[2] = {-1, -1};  // a pipe that is closed to stop the thread
  std::thread thread_;
};

}  // namespace tunevale
