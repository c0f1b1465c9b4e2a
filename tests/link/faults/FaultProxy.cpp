#include "link/faults/FaultProxy.h"

#include <array>
#include <atomic>
#include <list>
#include <thread>

#include <boost/asio.hpp>

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

/// One connection through the proxy: two sockets, and a pump each way.
class Passage : public std::enable_shared_from_this<Passage> {
 public:
  Passage(tcp::socket near, const FaultProxy::Faults& faults, std::atomic<std::size_t>& cuts)
      : faults_(faults), cuts_(cuts), pumps_{Pump(tcp::socket(near.get_executor())), Pump(std::move(near))} {}

  void connect(std::uint16_t target, bool held) {
    held_ = held;
    pumps_[0].from.async_connect({asio::ip::address_v4::loopback(), target},
                                 [self = shared_from_this()](const error_code& failed) {
                                   if (failed) return self->end(false);
                                   for (Pump& pump : self->pumps_) {
                                     error_code ignored;
                                     pump.from.set_option(tcp::no_delay(true), ignored);
                                     self->read(pump);
                                   }
                                 });
  }

  void hold(bool held) {
    held_ = held;
    if (!held && endedWhileHeld_) return end(false);
    for (Pump& pump : pumps_) {
      if (!held && std::exchange(pump.waiting, false)) send(pump);
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
    asio::const_buffer rest{};
    bool waiting = false;
  };

  void read(Pump& pump) {
    const auto hasRead = [this, self = shared_from_this(), &pump](const error_code& error, std::size_t size) {
      pump.rest = asio::buffer(pump.buffer.data(), size);
      if (!error) return send(pump);
      endedWhileHeld_ = held_;
      if (!held_) end(false);
    };
    pump.from.async_read_some(asio::buffer(pump.buffer), hasRead);
  }

  void send(Pump& pump) {
    if (over_) return;
    if (held_) {
      pump.waiting = true;
      return;
    }
    if (pump.rest.size() == 0) return read(pump);
    if (faults_.delay == faults_.delay.zero()) return write(pump);
    pump.timer.expires_after(faults_.delay);
    pump.timer.async_wait([self = shared_from_this(), &pump](const error_code& error) {
      if (!error) self->write(pump);
    });
  }

  void write(Pump& pump) {
    if (over_) return;
    std::size_t count = pump.rest.size();
    if (faults_.slice > 0) count = std::min(count, faults_.slice);
    if (faults_.cutAfter) count = std::min(count, *faults_.cutAfter - carried_);
    carried_ += count;
    const auto hasWritten = [this, self = shared_from_this(), &pump](const error_code& error,
                                                                     std::size_t size) {
      if (error) return end(false);
      pump.rest += size;
      if (carried_ < faults_.cutAfter.value_or(carried_ + 1)) return send(pump);
      if (!over_) ++cuts_;
      end(faults_.reset);
    };
    asio::async_write(pumps_[&pump == &pumps_[0] ? 1 : 0].from, asio::buffer(pump.rest, count), hasWritten);
  }

  const FaultProxy::Faults faults_;
  std::atomic<std::size_t>& cuts_;
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
        const Faults faults = std::exchange(spoiled, {});
        passages.push_back(std::make_shared<Passage>(std::move(socket), faults, cuts));
        passages.back()->connect(target, held);
      }
      accept();
    });
  }
  void end(bool reset) {
    for (const auto& passage : passages) passage->end(reset);
  }

  const std::uint16_t target;
  std::atomic<std::size_t> cuts = 0;
  asio::io_context context;
  tcp::acceptor acceptor;
  std::list<std::shared_ptr<Passage>> passages;
  Faults spoiled;
  bool down = false;
  bool held = false;
  std::thread thread;
};

FaultProxy::FaultProxy(std::uint16_t target) : state_(std::make_unique<State>(target)) {}
FaultProxy::~FaultProxy() = default;

std::uint16_t FaultProxy::port() const {
  return state_->acceptor.local_endpoint().port();
}
std::size_t FaultProxy::cuts() const {
  return state_->cuts;
}
void FaultProxy::spoilNext(const Faults& faults) {
  asio::post(state_->context, [this, faults] { state_->spoiled = faults; });
}
void FaultProxy::cut(bool reset) {
  asio::post(state_->context, [this, reset] { state_->end(reset); });
}
void FaultProxy::setDown(bool down) {
  asio::post(state_->context, [this, down] {
    state_->down = down;
    if (down) state_->end(false);
  });
}
void FaultProxy::setBlackHole(bool swallowing) {
  asio::post(state_->context, [this, swallowing] {
    state_->held = swallowing;
    for (const auto& passage : state_->passages) passage->hold(swallowing);
  });
}

}  // namespace tunevale::link
