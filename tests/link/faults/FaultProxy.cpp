#include "link/faults/FaultProxy.h"

#include <array>
#include <atomic>
#include <list>
#include <optional>
#include <thread>

#include <boost/asio.hpp>

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::size_t kRateSlice = 1024;

/// One connection through the proxy: two sockets, and a pump each way.
class Passage : public std::enable_shared_from_this<Passage> {
 public:
  struct Counts {
    std::atomic<std::size_t> connections = 0;
    std::atomic<std::size_t> cuts = 0;
  };

  Passage(asio::io_context& context, tcp::socket near, const FaultProxy::Faults& faults, Counts& counts)
      : faults_(faults), counts_(counts), pumps_{Pump(std::move(near)), Pump(tcp::socket(context))} {
    ++counts_.connections;
  }

  void connect(std::uint16_t target, bool held) {
    held_ = held;
    error_code error;
    pumps_[0].from.set_option(tcp::no_delay(true), error);
    pumps_[1].from.async_connect({asio::ip::address_v4::loopback(), target},
                                 [self = shared_from_this()](const error_code& failed) {
                                   if (failed) return self->end(false);
                                   error_code ignored;
                                   self->pumps_[1].from.set_option(tcp::no_delay(true), ignored);
                                   self->read(0);
                                   self->read(1);
                                 });
  }

  void hold(bool held) {
    held_ = held;
    if (!held && endedWhileHeld_) return end(false);
    for (std::size_t i = 0; i < 2 && !held; ++i) {
      if (std::exchange(pumps_.at(i).waiting, false)) send(i);
    }
  }

  void end(bool reset) {
    if (std::exchange(over_, true)) return;
    for (Pump& pump : pumps_) {
      error_code ignored;
      pump.timer.cancel();
      if (reset) pump.from.set_option(asio::socket_base::linger(true, 0), ignored);
      pump.from.close(ignored);
    }
  }
  bool isOver() const { return over_; }

 private:
  struct Pump {
    explicit Pump(tcp::socket socket) : from(std::move(socket)), timer(from.get_executor()) {}
    tcp::socket from;
    asio::steady_timer timer;
    std::array<char, 16 * 1024> buffer{};
    std::size_t begin = 0;
    std::size_t size = 0;
    bool waiting = false;
  };

  void read(std::size_t i) {
    Pump& pump = pumps_.at(i);
    pump.from.async_read_some(asio::buffer(pump.buffer),
                              [self = shared_from_this(), i](const error_code& error, std::size_t size) {
                                Pump& one = self->pumps_.at(i);
                                one.begin = 0;
                                one.size = size;
                                if (error && self->held_) {
                                  self->endedWhileHeld_ = true;
                                  return;
                                }
                                if (error) return self->end(false);
                                self->send(i);
                              });
  }

  void send(std::size_t i) {
    Pump& pump = pumps_.at(i);
    if (over_) return;
    if (held_) {
      pump.waiting = true;
      return;
    }
    if (pump.begin == pump.size) return read(i);
    std::size_t count = pump.size - pump.begin;
    std::chrono::microseconds pause = faults_.delay;
    if (faults_.slice > 0) count = std::min(count, faults_.slice);
    if (faults_.bytesPerSecond > 0) {
      count = std::min(count, kRateSlice);
      pause += std::chrono::microseconds(count * 1'000'000 / faults_.bytesPerSecond);
    }
    if (pause == pause.zero()) return write(i, count);
    pump.timer.expires_after(pause);
    pump.timer.async_wait([self = shared_from_this(), i, count](const error_code& error) {
      if (!error) self->write(i, count);
    });
  }

  void write(std::size_t i, std::size_t count) {
    if (over_) return;
    if (faults_.cutAfter) count = std::min(count, *faults_.cutAfter - carried_);
    carried_ += count;
    Pump& pump = pumps_.at(i);
    asio::async_write(pumps_.at(1 - i).from, asio::buffer(pump.buffer.data() + pump.begin, count),
                      [self = shared_from_this(), i, count](const error_code& error, std::size_t) {
                        if (error) return self->end(false);
                        self->pumps_.at(i).begin += count;
                        if (self->faults_.cutAfter && self->carried_ >= *self->faults_.cutAfter) {
                          if (!self->over_) ++self->counts_.cuts;
                          return self->end(self->faults_.reset);
                        }
                        self->send(i);
                      });
  }

  const FaultProxy::Faults faults_;
  Counts& counts_;
  std::array<Pump, 2> pumps_;
  std::size_t carried_ = 0;
  bool held_ = false;
  bool endedWhileHeld_ = false;
  bool over_ = false;
};

}  // namespace

struct FaultProxy::State {
  explicit State(std::uint16_t where)
      : target(where), acceptor(context, {asio::ip::address_v4::loopback(), 0}) {
    accept();
    thread = std::thread([this] { context.run(); });
  }
  ~State() {
    context.stop();
    thread.join();
    passages.clear();
  }

  void accept() {
    acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
      if (error) return;
      passages.remove_if([](const auto& one) { return one->isOver(); });
      if (!down) {
        passages.push_back(std::make_shared<Passage>(context, std::move(socket),
                                                     std::exchange(spoiled, {}).value_or(Faults{}), counts));
        passages.back()->connect(target, held);
      }
      accept();
    });
  }

  template <class Change>
  void change(Change what) {
    asio::post(context, std::move(what));
  }

  const std::uint16_t target;
  Passage::Counts counts;
  asio::io_context context;
  tcp::acceptor acceptor;
  std::list<std::shared_ptr<Passage>> passages;
  std::optional<Faults> spoiled;
  bool down = false;
  bool held = false;
  std::thread thread;
};

FaultProxy::FaultProxy(std::uint16_t target) : state_(std::make_shared<State>(target)) {}
FaultProxy::~FaultProxy() = default;

std::uint16_t FaultProxy::port() const {
  return state_->acceptor.local_endpoint().port();
}

void FaultProxy::spoilNext(const Faults& faults) {
  state_->change([state = state_.get(), faults] { state->spoiled = faults; });
}

void FaultProxy::setDown(bool down) {
  state_->change([state = state_.get(), down] {
    state->down = down;
    if (!down) return;
    for (const auto& passage : state->passages) passage->end(false);
  });
}

void FaultProxy::setBlackHole(bool swallowing) {
  state_->change([state = state_.get(), swallowing] {
    state->held = swallowing;
    for (const auto& passage : state->passages) passage->hold(swallowing);
  });
}

void FaultProxy::cut(bool reset) {
  state_->change([state = state_.get(), reset] {
    for (const auto& passage : state->passages) passage->end(reset);
  });
}

std::size_t FaultProxy::connections() const {
  return state_->counts.connections;
}
std::size_t FaultProxy::cuts() const {
  return state_->counts.cuts;
}

}  // namespace tunevale::link
