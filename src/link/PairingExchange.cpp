#include "link/PairingExchange.h"

#include <utility>

#include "link/FrameWriter.h"

namespace tunevale::link {
namespace {

constexpr std::size_t kMostReason = 200;

std::optional<Bytes32> bytes32Of(const Frame& frame, const char* key) {
  return bytes32In(readBody(frame.body).value_or(PlistDictionary{}), key);
}

/// A stranger's words as they may stand in a terminal.
std::string harmless(std::string_view text) {
  std::string result(text.substr(0, kMostReason));
  for (char& character : result) {
    if (character < ' ' || character > '~') character = '?';
  }
  return result;
}

}  // namespace

PairingExchange::PairingExchange(Strand& strand, SecureStream stream, Options options, PairingOwner& owner)
    : strand_(strand),
      stream_(std::move(stream)),
      options_(std::move(options)),
      owner_(owner),
      channel_{stream_.channelKey, options_.role == Role::watch ? options_.own : stream_.peer,
               options_.role == Role::watch ? stream_.peer : options_.own},
      reader_(kMostFrameBodyBeforeHello) {}

PairingExchange::~PairingExchange() {
  stream_.stream->close();
}

void PairingExchange::start() {
  stream_.stream->start(*this);
  expect(Phase::first, options_.timing.pairingStep);
  if (options_.role == Role::watch) return;
  if (options_.token) {
    send(FrameType::pairToken, "proof", ByteView(tokenProof(channel_, Role::phone, *options_.token)));
    expect(Phase::token, options_.timing.pairingStep);
  } else {
    options_.random(phoneNonce_);
    send(FrameType::pairCommit, "commit", ByteView(pairingCommitment(channel_, phoneNonce_)));
    expect(Phase::nonce, options_.timing.pairingStep);
  }
  flush();
}

bool PairingExchange::confirm(bool yes) {
  if (phase_ != Phase::compare || said_) return false;
  if (!yes) {
    cancel("not confirmed by the user");
    return true;
  }
  said_ = true;
  send(FrameType::pairProof, "proof",
       ByteView(confirmationProof(channel_, options_.role, watchNonce_, phoneNonce_)));
  pinWhenProved();
  flush();
  return true;
}

void PairingExchange::cancel(const std::string& reason) {
  if (phase_ == Phase::over) return;
  send(FrameType::pairFail, "reason", reason);
  end(PairingOutcome::failed, reason);
}

void PairingExchange::streamDidRead(ByteView bytes) {
  received_ += bytes.size();
  reader_.append(bytes);
  while (phase_ != Phase::over) {
    const std::optional<Frame> frame = reader_.next();
    if (!frame) break;
    take(*frame);
  }
  if (phase_ == Phase::over) return;
  if (reader_.broken() != nullptr) {
    cancel(reader_.broken());
  } else if (received_ > kMostHandshakeBytes) {
    cancel("too much was sent");
  } else {
    flush();
  }
}

void PairingExchange::streamDidWrite() {
  writing_ = false;
  flush();
}

void PairingExchange::streamDidEnd(const std::string& reason) {
  end(PairingOutcome::failed, reason);
}

void PairingExchange::take(const Frame& frame) {
  if (frame.type == FrameType::pairCommit && phase_ == Phase::first) {
    takeCommit(frame);
  } else if (frame.type == FrameType::pairNonce && phase_ == Phase::nonce) {
    takeNonce(frame);
  } else if (frame.type == FrameType::pairReveal && phase_ == Phase::reveal) {
    takeReveal(frame);
  } else if (frame.type == FrameType::pairProof && phase_ == Phase::compare && !proved_) {
    takeProof(frame);
  } else if (frame.type == FrameType::pairToken && (phase_ == Phase::first || phase_ == Phase::token)) {
    takeToken(frame);
  } else if (frame.type == FrameType::pairDone && phase_ == Phase::done) {
    end(PairingOutcome::paired, "both ends have paired");
  } else if (frame.type == FrameType::pairFail) {
    takeFail(frame);
  } else if ((frame.flags & kCriticalFrame) != 0) {
    cancel("a frame that does not belong here");
  }
}

void PairingExchange::takeCommit(const Frame& frame) {
  const std::optional<Bytes32> commitment = bytes32Of(frame, "commit");
  if (!commitment) return cancel("a commitment is 32 bytes");
  if (const auto objection = owner_.objectionToAttempt(*this, false)) return cancel(*objection);
  commitment_ = *commitment;
  options_.random(watchNonce_);
  send(FrameType::pairNonce, "nonce", ByteView(watchNonce_));
  expect(Phase::reveal, options_.timing.pairingStep);
}

void PairingExchange::takeNonce(const Frame& frame) {
  const std::optional<Bytes32> nonce = bytes32Of(frame, "nonce");
  if (!nonce) return cancel("a nonce is 32 bytes");
  watchNonce_ = *nonce;
  send(FrameType::pairReveal, "nonce", ByteView(phoneNonce_));
  startComparing();
}

void PairingExchange::takeReveal(const Frame& frame) {
  const std::optional<Bytes32> nonce = bytes32Of(frame, "nonce");
  if (!nonce || !equalInConstantTime(pairingCommitment(channel_, *nonce), commitment_)) {
    return cancel("the commitment does not hold");
  }
  phoneNonce_ = *nonce;
  startComparing();
}

void PairingExchange::startComparing() {
  expect(Phase::compare, options_.timing.pairingWindow);
  owner_.compare(pairingCode(channel_, watchNonce_, phoneNonce_));
}

void PairingExchange::takeProof(const Frame& frame) {
  const Role other = options_.role == Role::watch ? Role::phone : Role::watch;
  const std::optional<Bytes32> proof = bytes32Of(frame, "proof");
  if (!proof || !equalInConstantTime(*proof, confirmationProof(channel_, other, watchNonce_, phoneNonce_))) {
    return cancel("the proof does not hold");
  }
  proved_ = true;
  pinWhenProved();
}

void PairingExchange::takeToken(const Frame& frame) {
  const bool isWatch = options_.role == Role::watch;
  if (isWatch != (phase_ == Phase::first)) return cancel("a frame that does not belong here");
  if (isWatch) {
    if (const auto objection = owner_.objectionToAttempt(*this, true)) return cancel(*objection);
  }
  const std::optional<Bytes32> proof = bytes32Of(frame, "proof");
  const auto isProved = [&](const PairingToken& token) {
    const Role other = isWatch ? Role::phone : Role::watch;
    if (!proof || !equalInConstantTime(*proof, tokenProof(channel_, other, token))) return false;
    if (isWatch) send(FrameType::pairToken, "proof", ByteView(tokenProof(channel_, Role::watch, token)));
    return true;
  };
  if (!(isWatch ? owner_.takeToken(isProved) : isProved(*options_.token))) {
    return cancel("the token does not hold");
  }
  said_ = proved_ = true;
  pinWhenProved();
}

void PairingExchange::pinWhenProved() {
  if (!said_ || !proved_) return;
  if (!owner_.pin(stream_.peer)) return cancel("the pairing could not be written down");
  pinned_ = true;
  FrameWriter(outgoing_).add(FrameType::pairDone, 0);
  expect(Phase::done, options_.timing.pairingStep);
}

void PairingExchange::takeFail(const Frame& frame) {
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const PlistValue* reason = body ? body->find("reason") : nullptr;
  end(PairingOutcome::failed,
      "the other end says: " + harmless(reason != nullptr ? reason->string().value_or("no") : "no"));
}

void PairingExchange::expect(Phase phase, Duration limit) {
  phase_ = phase;
  timer_ = strand_.after(limit, [this] { cancel("took too long"); });
}

void PairingExchange::send(FrameType type, const char* key, const PlistValue& value) {
  FrameWriter(outgoing_).add(type, 0, PlistDictionary{{key, value}});
}

void PairingExchange::flush() {
  if (writing_ || outgoing_.empty()) return;
  writing_ = true;
  stream_.stream->write(std::exchange(outgoing_, {}));
}

void PairingExchange::end(PairingOutcome outcome, const std::string& reason) {
  if (phase_ == Phase::over) return;
  // Behind what is still being written, too.
  if (!outgoing_.empty()) stream_.stream->write(std::exchange(outgoing_, {}));
  phase_ = Phase::over;
  timer_.reset();
  stream_.stream->close();
  owner_.exchangeDidEnd(
      *this, pinned_ && outcome == PairingOutcome::failed ? PairingOutcome::incomplete : outcome, reason);
}

}  // namespace tunevale::link
