#include "link/Delivery.h"

#include "link/SessionCore.h"

namespace tunevale::link {
namespace {

// A handler that throws has said that it could not handle what it was given, no more.
bool succeeds(const Delivery::Call& call, SessionDelegate& delegate) {
  try {
    call(delegate);
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace

void Delivery::deliver(const Weight& weight, Call call, Block handled, int attempts) {
  ++payloads_;
  bytes_ += weight.bytes;
  fileBytes_ += weight.fileBytes;
  deliver_([mailbox = mailbox_, &delegate = delegate_, weight, call = std::move(call), attempts,
            handled = std::move(handled)]() mutable {
    for (int attempt = 0; attempt < attempts; ++attempt) {
      if (succeeds(call, delegate)) break;
    }
    call = {};  // a reply handler in it that nobody kept is dropped here, before the next payload
    if (handled) handled();  // here, so that it is said of the last one too when the session is ending
    mailbox->post([weight](SessionCore& core) { core.payloadWasHandled(weight); });
  });
}

void Delivery::tell(Call call) {
  deliver_([&delegate = delegate_, call = std::move(call)] { succeeds(call, delegate); });
}

void Delivery::tellState(const LinkState& state) {
  answer_([&delegate = delegate_, state] { delegate.sessionStateDidChange(state); });
}

void Delivery::handled(const Weight& weight) {
  --payloads_;
  bytes_ -= weight.bytes;
  fileBytes_ -= weight.fileBytes;
}

}  // namespace tunevale::link
