#include "link/Connection.h"

#include <algorithm>
#include <utility>

namespace tunevale::link {
namespace {

constexpr std::size_t kBatch = 64 * 1024;                // frames that go out in one write
constexpr std::chrono::milliseconds kMostFarewell{500};  // for a last word to be taken

}  // namespace

Connection::Connection(Strand& strand, const Timing& timing, std::unique_ptr<Stream> stream, bool opener,
                       ConnectionOwner& owner, Session::Closed closed)
    : strand_(strand),
      timing_(timing),
      stream_(std::move(stream)),
      opener_(opener),
      owner_(owner),
      closed_(std::move(closed)),
      reader_(kMostFrameBodyBeforeHello),
      rate_(strand.now()),
      heard_(strand.now()),
      pinged_(strand.now()),
      introduced_(strand.now()),
      opened_(strand.now()) {}

Connection::~Connection() {
  stream_->close();
}

void Connection::start() {
  stream_->start(*this);
  silenceTimer_ = strand_.after(timing_.hello, [this] { close("no introduction in time"); });
  if (!opener_) return;
  introduced_ = strand_.now();
  sendFirst(FrameType::hello, owner_.introduction());
}

void Connection::sendFirst(FrameType type, const PlistDictionary& body) {
  if (phase_ == Phase::closed || leaving_) return;
  FrameWriter frames(first_);
  if (body.empty()) {
    frames.add(type, 0);
  } else {
    frames.add(type, 0, body);
  }
  if (first_.size() > kMostUnreadBytes) {
    close("the other end does not read");
    return;
  }
  wake();
}

void Connection::wake() {
  if (writing_ || phase_ == Phase::closed) return;
  Bytes batch = std::move(first_);
  first_.clear();
  FrameWriter frames(batch);
  while (phase_ == Phase::open && !leaving_ && batch.size() < kBatch && owner_.fill(frames)) {
  }
  if (batch.empty()) return;
  writing_ = true;
  stream_->write(std::move(batch));
}

void Connection::setPaused(bool paused) {
  if (paused == paused_ || phase_ == Phase::closed) return;
  paused_ = paused;
  readOrNot();
  // Not at once: this may have been called for a frame that is being taken.
  if (!paused && rateTimer_ == nullptr) {
    rateTimer_ = strand_.after({}, [this] {
      rateTimer_.reset();
      takeFrames();
      readOrNot();
    });
  }
}

void Connection::readOrNot() {
  const bool reads = !isHeldUp() || reader_.waiting() < kMostReadAhead;
  if (phase_ == Phase::closed || reads == reading_) return;
  reading_ = reads;
  heard_ = strand_.now();  // silence while nobody listens says nothing
  stream_->setReading(reads);
}

void Connection::closeAfter(FrameType last, const std::string& reason) {
  if (phase_ == Phase::closed || leaving_) return;
  FrameWriter(first_).add(last, 0);
  leaving_ = reason;
  silenceTimer_ = strand_.after(kMostFarewell, [this, reason] { end(reason); });
  wake();
}

void Connection::close(const std::string& reason) {
  if (phase_ == Phase::closed) return;
  if (!leaving_) {
    Bytes goodbye = std::move(first_);
    FrameWriter(goodbye).add(FrameType::bye, 0, PlistDictionary{{"reason", reason}});
    stream_->write(std::move(goodbye));  // behind what is still being written, too
  }
  end(reason);
}

void Connection::streamDidRead(ByteView bytes) {
  if (leaving_) return;
  heard_ = strand_.now();
  reader_.append(bytes);
  takeFrames();
  readOrNot();
}

void Connection::streamDidWrite() {
  writing_ = false;
  if (!reading_) heard_ = strand_.now();  // of all that can be heard of it
  if (leaving_ && first_.empty()) {
    end(std::string(*leaving_));
  } else {
    wake();
  }
}

void Connection::streamDidEnd(const std::string& reason) {
  ended_ = true;
  takeFrames();
  // The other end knows of the rest that it did not arrive, but it says only once that it has unpaired.
  while (phase_ == Phase::open && !leaving_) {
    const std::optional<Frame> frame = reader_.next();
    if (!frame) break;
    if (frame->type == FrameType::unpair) owner_.connectionDidReceive(*this, *frame);
  }
  end(reason);
}

void Connection::takeFrames() {
  while (phase_ != Phase::closed && !leaving_ && !isHeldUp()) {
    if (const Duration wait = rate_.wait(strand_.now()); wait > Duration::zero() && !ended_) {
      rateTimer_ = strand_.after(wait, [this] {
        rateTimer_.reset();
        takeFrames();
        readOrNot();
      });
      return;
    }
    const std::optional<Frame> frame = reader_.next();
    if (!frame) break;
    rate_.take();
    take(*frame);
  }
  if (reader_.broken() != nullptr) close(reader_.broken());
}

void Connection::take(const Frame& frame) {
  if (frame.type == FrameType::bye) {
    const std::optional<PlistDictionary> body = readBody(frame.body);
    const PlistValue* reason = body ? body->find("reason") : nullptr;
    end(std::string(reason != nullptr ? reason->string().value_or("goodbye") : "goodbye"));
  } else if (phase_ == Phase::introducing) {
    takeIntroduction(frame);
  } else if (frame.type == FrameType::ping) {
    sendFirst(FrameType::pong);
  } else if (frame.type == FrameType::hello || frame.type == FrameType::helloAck) {
    close("introduced twice");
  } else if (frame.type != FrameType::pong) {
    owner_.connectionDidReceive(*this, frame);
  }
}

void Connection::takeIntroduction(const Frame& frame) {
  const std::optional<PlistDictionary> body = readBody(frame.body);
  if (frame.type != (opener_ ? FrameType::helloAck : FrameType::hello) || !body) {
    close("no introduction");
    return;
  }
  if (const char* objection = owner_.objectionTo(*body)) {
    close(objection);
    return;
  }
  opened_ = strand_.now();
  if (!opener_) {
    introduced_ = opened_;
    sendFirst(FrameType::helloAck, owner_.introduction());
  }
  phase_ = Phase::open;
  reader_.setMostBody(kMostFrameBody);
  watchSilence();
  owner_.connectionDidOpen(*this, *body);
}

void Connection::watchSilence() {
  const Time now = strand_.now();
  // An end that takes no frames for a while answers no ping, so it sends some unasked. Silence says nothing
  // to one that does not even read; but if nothing of what it writes goes, the other end has gone, or waits
  // in the same way.
  const bool heldUp = isHeldUp();
  if (!reading_ && !writing_) heard_ = now;
  if (now - heard_ >= timing_.dead) {
    close("the other end has fallen silent");
    return;
  }
  if (now - (heldUp ? pinged_ : std::max(heard_, pinged_)) >= timing_.silence) {
    pinged_ = now;
    sendFirst(FrameType::ping);
  }
  const Time nextPing = (heldUp ? pinged_ : std::max(heard_, pinged_)) + timing_.silence;
  const Time death = heard_ + timing_.dead;
  silenceTimer_ = strand_.after(std::min(nextPing, death) - now, [this] { watchSilence(); });
}

void Connection::end(const std::string& reason) {
  if (phase_ == Phase::closed) return;
  const Duration openFor = phase_ == Phase::open ? strand_.now() - opened_ : Duration::zero();
  phase_ = Phase::closed;
  silenceTimer_.reset();
  rateTimer_.reset();
  stream_->close();
  owner_.connectionDidClose(*this, reason);
  if (closed_) std::exchange(closed_, {})(reason, openFor);
}

}  // namespace tunevale::link
