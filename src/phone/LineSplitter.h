#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tunevale::phone {

/// Cuts a stream of bytes into lines, keeping at most one line of bounded length in memory.
class LineSplitter {
 public:
  /// `line` gets each line without "\n" or "\r\n"; `tooLong` is called once, in place, for a longer one.
  LineSplitter(std::size_t most, std::function<void(std::string_view)> line, std::function<void()> tooLong);
  void feed(std::string_view bytes);
  /// The stream has ended: what is left is the last line.
  void finish();

 private:
  void endLine();
  std::size_t most_;
  std::function<void(std::string_view)> line_;
  std::function<void()> tooLong_;
  std::string pending_;
  bool skipping_ = false;
};

}  // namespace tunevale::phone
