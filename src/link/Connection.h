#pragma once

#include <memory>

#include "link/FrameReader.h"
#include "link/FrameWriter.h"
#include "link/RateLimit.h"
#include "link/Session.h"

namespace tunevale::link {

class Connection;

/// Whoever holds connections. Strand only.
class ConnectionOwner {
 public:
  virtual ~ConnectionOwner() = default;
  virtual PlistDictionary introduction() const = 0;
  /// Why the other end is not welcome; null when it is.
  virtual const char* objectionTo(const PlistDictionary& introduction) const = 0;
  virtual void connectionDidOpen(Connection& connection, const PlistDictionary& introduction) = 0;
  virtual void connectionDidReceive(Connection& connection, const Frame& frame) = 0;
  /// Adds the next frame to send; false when there is none.
  virtual bool fill(FrameWriter& frames) = 0;
  /// The connection may be destroyed once this turn is over.
  virtual void connectionDidClose(Connection& connection, const std::string& reason) = 0;
};

/// One stream as frames: introduces the two ends, keeps watch over the other's life, limits what it takes,
/// writes what its owner has. Strand only.
class Connection : private StreamReceiver {
 public:
  Connection(Strand& strand, const Timing& timing, std::unique_ptr<Stream> stream, bool opener,
             ConnectionOwner& owner, Session::Closed closed);
  ~Connection() override;
  void start();

  bool isOpen() const { return phase_ == Phase::open; }
  /// When this end's introduction was ready to go, and when the other's was read.
  Time introduced() const { return introduced_; }
  Time opened() const { return opened_; }
  /// Puts a frame before everything that fill() has.
  void sendFirst(FrameType type, const PlistDictionary& body = {});
  /// There is something to send.
  void wake();
  /// Whether to stop taking frames. The other end is still told that this one lives, and heard as long as
  /// what it sends fits into what is read ahead.
  void setPaused(bool paused);
  /// Sends this frame as the last one, and closes once it is on its way, or soon without.
  void closeAfter(FrameType last, const std::string& reason);
  /// Says why and closes.
  void close(const std::string& reason);

 private:
  enum class Phase { introducing, open, closed };

  void streamDidRead(ByteView bytes) override;
  void streamDidWrite() override;
  void streamDidEnd(const std::string& reason) override;
  void takeFrames();
  void take(const Frame& frame);
  void takeIntroduction(const Frame& frame);
  bool isHeldUp() const { return paused_ || (rateTimer_ != nullptr && !ended_); }
  /// Reads what can be taken, or kept until it can.
  void readOrNot();
  void watchSilence();
  void end(const std::string& reason);

  Strand& strand_;
  const Timing timing_;
  std::unique_ptr<Stream> stream_;
  const bool opener_;
  ConnectionOwner& owner_;
  Session::Closed closed_;
  Phase phase_ = Phase::introducing;
  FrameReader reader_;
  RateLimit rate_;
  Bytes first_;
  bool writing_ = false;
  bool paused_ = false;
  bool reading_ = true;
  bool ended_ = false;                  // the stream: what was read ahead is all that comes
  std::optional<std::string> leaving_;  // why; nothing more is taken or sent
  Time heard_;
  Time pinged_;
  Time introduced_;
  Time opened_;
  std::unique_ptr<Timer> silenceTimer_;
  std::unique_ptr<Timer> rateTimer_;
};

}  // namespace tunevale::link
