#pragma once

#include <array>
#include <memory>
#include <optional>

#include "link/Strand.h"
#include "link/Stream.h"

namespace tunevale::link {

/// Hears nothing of what its stream brings.
struct Deaf : StreamReceiver {
  void streamDidRead(ByteView) override {}
  void streamDidWrite() override {}
  void streamDidEnd(const std::string&) override {}
};

/// A way between two streams through which every byte goes, and on which things go wrong when the test wants
/// it.
class Wire {
 public:
  struct Faults {
    std::size_t slice = 0;                  // bytes that arrive at once; 0: all
    Duration delay{};                       // of every slice
    std::optional<std::size_t> cutAfter{};  // bytes, both directions together
  };

  explicit Wire(Strand& strand) : Wire(strand, Faults{}) {}
  Wire(Strand& strand, Faults faults);
  ~Wire();

  /// One end each, once.
  std::unique_ptr<Stream> takeFirst();
  std::unique_ptr<Stream> takeSecond();

  /// Both ends hear that it broke.
  void cut();
  /// From now on nothing arrives, and nobody is told.
  void swallow(bool everything);
  std::size_t bytesCarried() const;

 private:
  struct State;
  class StreamEnd;
  std::shared_ptr<State> state_;
};

}  // namespace tunevale::link
