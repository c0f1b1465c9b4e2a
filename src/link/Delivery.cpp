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

void Delivery::deliver(std::size_t bytes, Call call, int attempts, Block handled) {
  ++payloads_;
  bytes_ += bytes;
  deliver_([mailbox = mailbox_, &delegate = delegate_, bytes, call = std::move(call), attempts,
            handled = std::move(handled)]() mutable {
    for (int attempt = 0; attempt < attempts; ++attempt) {
      if (succeeds(call, delegate)) break;
    }
    call = {};  // a reply handler in it that nobody kept is dropped here, before the next payload
    mailbox->post([bytes, handled = std::move(handled)](SessionCore& core) {
      if (handled) handled();
      core.payloadWasHandled(bytes);
    });
  });
}

void Delivery::tell(Call call) {
  deliver_([&delegate = delegate_, call = std::move(call)] { succeeds(call, delegate); });
}

void Delivery::tellState(const LinkState& state) {
  answer_([&delegate = delegate_, state] { delegate.sessionStateDidChange(state); });
}

void Delivery::handled(std::size_t bytes) {
  --payloads_;
  bytes_ -= bytes;
}

}  // namespace tunevale::link
