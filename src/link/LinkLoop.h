#pragma once

#include <memory>
#include <string>

#include "link/Strand.h"

namespace boost::asio {
class io_context;
}

namespace tunevale::link {

/// A strand on a thread of its own, asleep while nothing happens.
class LinkLoop : public Strand {
 public:
  /// The thread starts with start(); its name is at most 15 characters.
  explicit LinkLoop(std::string name);
  /// Stops.
  ~LinkLoop() override;

  void start();
  /// Ends the thread after the block that runs now; nothing runs any more, and what waits goes with the loop.
  /// Any other thread.
  void stop();
  /// Runs on the calling thread instead of one of its own, until stop().
  void run();

  void post(Block block) override;
  std::unique_ptr<Timer> after(Duration delay, Block block) override;
  /// Goes on while the machine sleeps; what after() waits for does not, and is late by that.
  Time now() const override;
  std::uint64_t random() override;

  /// For the sockets of this end.
  boost::asio::io_context& context();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tunevale::link
