#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace tunevale::link {

/// A way to a TCP port on this machine on which things go wrong when the test wants it. Any thread.
class FaultProxy {
 public:
  /// What happens to a connection, from its first byte.
  struct Faults {
    std::size_t slice = 0;                  // bytes that go on at once; 0: as they come
    std::chrono::microseconds delay{};      // before each slice
    std::optional<std::size_t> cutAfter{};  // bytes, both ways together
    bool reset = false;                     // how it is cut: by a reset, or by an orderly end
  };

  explicit FaultProxy(std::uint16_t target);
  ~FaultProxy();
  std::uint16_t port() const;

  /// For the next connection alone; those after it are sound.
  void spoilNext(const Faults& faults);
  /// Whether connections are refused, and those that are there cut.
  void setDown(bool down);
  /// Whether nothing gets through while nobody is told. What was sent meanwhile goes on afterwards.
  void setBlackHole(bool swallowing);
  /// Cuts what is there; new connections are welcome.
  void cut(bool reset);

  std::size_t cuts() const;  // so far, by cutAfter

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tunevale::link
