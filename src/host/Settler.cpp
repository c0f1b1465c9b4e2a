#include "host/Settler.h"

namespace tunevale::host {

namespace {

constexpr std::chrono::milliseconds kLongestWait{500};
// An answer may submit a block which submits another, as when a screen restores itself and then opens one.
constexpr int kQuietTurns = 3;

}  // namespace

void Settler::wait(Done done) {
  const auto waiter = std::make_shared<Waiter>();
  waiter->done = std::move(done);
  waiters_.push_back(waiter);
  mainQueue_.after(kLongestWait, [weak = std::weak_ptr<Waiter>(waiter)] {
    if (const auto late = weak.lock()) late->expired = true;
  });
}

void Settler::turnDidEnd() {
  if (waiters_.empty()) return;
  const bool quiet = !pendingRequests_ || pendingRequests_() == 0;
  std::vector<std::shared_ptr<Waiter>> finished;
  std::erase_if(waiters_, [&](const std::shared_ptr<Waiter>& waiter) {
    waiter->quietTurns = quiet ? waiter->quietTurns + 1 : 0;
    const bool over = waiter->expired || waiter->quietTurns > kQuietTurns;
    if (over) finished.push_back(waiter);
    return over;
  });
  // Whoever waits for an answer is woken by it; who waits for rest only needs another turn.
  if (quiet && !waiters_.empty()) mainQueue_.async([] {});
  for (const auto& waiter : finished) waiter->done();
}

}  // namespace tunevale::host
