#include "link/Delivery.h"

#include "link/SessionCore.h"

namespace tunevale::link {
namespace {

// A handler that throws has said that it could not handle what it was given, no more. Gives what it said.
std::optional<std::string> complaint(const Delivery::Call& call, SessionDelegate& delegate) {
  try {
    call(delegate);
    return std::nullopt;
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "no reason given";
  }
}

void attempt(const Delivery::Call& call, SessionDelegate& delegate, int times, const Delivery::LogLine& log) {
  std::optional<std::string> wrong = "";
  for (int i = 0; i < times && wrong; ++i) wrong = complaint(call, delegate);
  if (wrong && log) log("Phone link: what came could not be handled: " + *wrong);
}

}  // namespace

void Delivery::deliver(const Weight& weight, Call call, Block handled, int attempts) {
  ++payloads_;
  bytes_ += weight.bytes;
  fileBytes_ += weight.fileBytes;
  deliver_([mailbox = mailbox_, &delegate = delegate_, weight, call = std::move(call), attempts, log = log_,
            handled = std::move(handled)]() mutable {
    attempt(call, delegate, attempts, log);
    call = {};  // a reply handler in it that nobody kept is dropped here, before the next payload
    if (handled) handled();  // here, so that it is said of the last one too when the session is ending
    mailbox->post([weight](SessionCore& core) { core.payloadWasHandled(weight); });
  });
}

void Delivery::tell(Call call) {
  deliver_([&delegate = delegate_, call = std::move(call), log = log_] { attempt(call, delegate, 1, log); });
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
