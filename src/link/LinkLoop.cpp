#include "link/LinkLoop.h"

#include <ctime>
#include <random>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <pthread.h>

namespace tunevale::link {
namespace {

namespace asio = boost::asio;

class LoopTimer : public Timer {
 public:
  LoopTimer(asio::io_context& context, Duration delay, Block block)
      : timer_(context, std::chrono::duration_cast<asio::steady_timer::duration>(delay)),
        block_(std::make_shared<Block>(std::move(block))) {
    timer_.async_wait([waiting = std::weak_ptr<Block>(block_)](const boost::system::error_code& error) {
      // Held here, as the block may destroy this timer.
      if (const auto due = waiting.lock(); due != nullptr && !error) (*due)();
    });
  }

 private:
  asio::steady_timer timer_;
  std::shared_ptr<Block> block_;
};

}  // namespace

struct LinkLoop::State {
  std::string name;
  asio::io_context context{1};
  asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
  std::random_device dice;
  std::thread thread;
};

LinkLoop::LinkLoop(std::string name) : state_(std::make_unique<State>()) {
  state_->name = std::move(name);
}

LinkLoop::~LinkLoop() {
  stop();
}

void LinkLoop::start() {
  state_->thread = std::thread([this] { run(); });
}

void LinkLoop::run() {
  ::pthread_setname_np(::pthread_self(), state_->name.substr(0, 15).c_str());
  state_->context.run();
}

void LinkLoop::stop() {
  state_->context.stop();
  if (state_->thread.joinable()) state_->thread.join();
}

void LinkLoop::post(Block block) {
  asio::post(state_->context, std::move(block));
}

std::unique_ptr<Timer> LinkLoop::after(Duration delay, Block block) {
  return std::make_unique<LoopTimer>(state_->context, delay, std::move(block));
}

Time LinkLoop::now() const {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);  // cannot fail: Linux 2.6.39 knows it
  return Time(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

std::uint64_t LinkLoop::random() {
  return (std::uint64_t{state_->dice()} << 32) | state_->dice();
}

asio::io_context& LinkLoop::context() {
  return state_->context;
}

}  // namespace tunevale::link
