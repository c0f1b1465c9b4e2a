#pragma once

#include <list>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>

#include "link/LinkLoop.h"
#include "link/TlsDial.h"
#include "link/TlsListener.h"

namespace tunevale::link {

/// Keeps what comes through a stream.
struct Sink : StreamReceiver {
  explicit Sink(std::unique_ptr<Stream> from) : stream(std::move(from)) { stream->start(*this); }
  void streamDidRead(ByteView bytes) override { read += asText(bytes); }
  void streamDidWrite() override { ++writes; }
  void streamDidEnd(const std::string& reason) override { ended = reason; }
  void say(std::string_view text) { stream->write({asBytes(text).begin(), asBytes(text).end()}); }

  std::unique_ptr<Stream> stream;
  std::string read;
  std::string ended;
  int writes = 0;
};

/// A watch that listens, on a loop that the test turns, and the way to it.
struct TlsWorld {
  explicit TlsWorld(Timing times = {}) : timing(times) {
    listener.start([this](SecureStream stream) { accepted.push_back(std::move(stream)); });
  }

  /// Turns the loop until a condition holds; false when it does not within some seconds.
  template <class Condition>
  bool until(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(5)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      loop.context().run_one_for(std::chrono::milliseconds(20));
    }
    return true;
  }

  /// Dials as the paired phone does; null when it did not work.
  std::unique_ptr<Sink> dial(
      const Identity& identity, const std::function<void()>& meanwhile = [] {}) {
    std::unique_ptr<Stream> stream;
    bool done = false;
    const Dial dial = tlsDial(loop, identity, [this] { return phonePin; },
                              {{"127.0.0.1", listener.port()}, timing, [this](const Refused& one) {
                                 phoneRefused.push_back(one);
                               }});
    const auto dialing = dial([&](std::unique_ptr<Stream> made) {
      stream = std::move(made);
      done = true;
    });
    until([&] {
      meanwhile();
      return done;
    });
    return stream ? std::make_unique<Sink>(std::move(stream)) : nullptr;
  }

  const Timing timing;
  LinkLoop loop{"tls-world"};
  const Identity watch = Identity::temporary();
  const Identity phone = Identity::temporary();
  std::optional<KeyHash> watchPin = phone.keyHash();
  std::optional<KeyHash> phonePin = watch.keyHash();
  bool pinVanishes = false;  // once it was asked for
  bool pairing = false;
  std::vector<Refused> watchRefused;
  std::vector<Refused> phoneRefused;
  std::list<SecureStream> accepted;
  TlsListener listener{
      loop,
      {},
      watch,
      {[this] {
         const auto pin = watchPin;
         if (pinVanishes) watchPin.reset();
         return pin;
       },
       [this] { return pairing; }, [this](const Refused& one) { watchRefused.push_back(one); }, timing}};
};

}  // namespace tunevale::link
