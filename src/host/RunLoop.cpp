#include "host/RunLoop.h"

#include <atomic>
#include <csignal>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include "host/BlockSchedule.h"

namespace tunevale::host {

namespace asio = boost::asio;

namespace {

// So that handlers which keep making one another ready cannot put off the end of the turn for ever.
constexpr int kMostHandlersPerTurn = 256;

}  // namespace

struct RunLoop::State {
  asio::io_context context;
  asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
  asio::steady_timer timer{context};
  std::optional<BlockSchedule::Time> timerSetTo;
  asio::signal_set signals{context};
  BlockSchedule schedule;
  std::atomic<bool> woken = false;
  std::function<void()> turnEnd;

  void wake() {
    if (!woken.exchange(true)) asio::post(context, [this] { runBlocks(); });
  }

  void runBlocks() {
    woken = false;
    auto blocks = schedule.take(std::chrono::steady_clock::now());
    for (; !blocks.empty(); blocks.pop_front()) blocks.front()();
    setTimer();
  }

  void setTimer() {
    const auto earliest = schedule.earliest();
    if (earliest == timerSetTo) return;
    timerSetTo = earliest;
    if (!earliest) {
      timer.cancel();
      return;
    }
    timer.expires_at(*earliest);
    timer.async_wait([this](boost::system::error_code error) {
      if (error) return;  // set to another time
      timerSetTo.reset();
      runBlocks();
    });
  }
};

RunLoop::RunLoop() : state_(std::make_unique<State>()) {}

RunLoop::~RunLoop() {
  clear();
}

void RunLoop::clear() {
  state_->schedule.clear();
}

void RunLoop::async(Block block) {
  state_->schedule.add(std::move(block));
  state_->wake();
}

void RunLoop::after(std::chrono::nanoseconds delay, Block block) {
  if (state_->schedule.addAfter(std::chrono::steady_clock::now(), delay, std::move(block))) state_->wake();
}

void RunLoop::setTurnEndHandler(std::function<void()> handler) {
  state_->turnEnd = std::move(handler);
}

void RunLoop::run() {
  asio::io_context& context = state_->context;
  while (context.run_one() > 0) {
    for (int i = 1; i < kMostHandlersPerTurn && context.poll_one() > 0; ++i) {
    }
    if (state_->turnEnd) state_->turnEnd();
  }
}

void RunLoop::stop() {
  state_->context.stop();
}

void RunLoop::handleSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  state_->signals.add(SIGINT);
  state_->signals.add(SIGTERM);
  state_->signals.async_wait([this](boost::system::error_code error, int) {
    if (error) return;
    state_->signals.clear();
    stop();
  });
}

asio::io_context& RunLoop::context() {
  return state_->context;
}

}  // namespace tunevale::host
