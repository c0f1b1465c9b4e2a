#pragma once

#include <functional>
#include <memory>

#include "platform/Queues.h"

namespace boost::asio {
class io_context;
}

namespace tunevale::host {

/// The process's main queue, run by the one thread that calls run(). A turn of the loop is a wake-up and what
/// is ready by then: blocks, timers, sockets of context(). Between turns the thread sleeps.
class RunLoop : public MainQueue {
 public:
  RunLoop();
  /// Blocks that have not run are dropped. No thread may submit any more.
  ~RunLoop() override;

  void async(Block block) override;
  void after(std::chrono::nanoseconds delay, Block block) override;

  /// Called on the main thread at the end of every turn, so that what a turn changed can go out in one piece.
  /// It must not throw; what it submits runs in the next turn. Main thread, or before run().
  void setTurnEndHandler(std::function<void()> handler);

  /// Runs turns until stop(). A loop that was stopped stays so.
  void run();
  /// Ends run() after the block that runs now. Any thread, and before run() too.
  void stop();
  /// Drops the blocks that have not run, and with them what they hold: while all that this reaches still
  /// stands. After run().
  void clear();
  /// From now on SIGINT and SIGTERM stop the loop, a second one ends the process at once, and writing into a
  /// closed pipe is an error instead of a signal. For main only: it is about the whole process.
  void handleSignals();

  /// For sockets whose handlers are to run on the main queue.
  boost::asio::io_context& context();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tunevale::host
