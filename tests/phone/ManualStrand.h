#pragma once

#include <deque>
#include <map>
#include <utility>

#include "link/Strand.h"

namespace tunevale::test {

/// A strand whose time stands still until a test moves it.
class ManualStrand : public link::Strand {
 public:
  void post(link::Block block) override { posted_.push_back(std::move(block)); }
  std::unique_ptr<link::Timer> after(link::Duration delay, link::Block block) override {
    const auto key = std::pair(now_ + delay, ++timers_);
    waiting_.emplace(key, std::move(block));
    return std::make_unique<Waiting>(*this, key);
  }
  link::Time now() const override { return now_; }
  std::uint64_t random() override { return 42; }

  /// Runs what is posted, and what that posts. Gives the number of blocks; stops after `most`.
  int drain(int most = 100'000) {
    int ran = 0;
    for (; !posted_.empty() && ran < most; ++ran) {
      const link::Block block = std::move(posted_.front());
      posted_.pop_front();
      block();
    }
    return ran;
  }
  void advance(link::Duration time) {
    const link::Time until = now_ + time;
    drain();
    while (!waiting_.empty() && waiting_.begin()->first.first <= until) {
      const auto next = waiting_.begin();
      now_ = std::max(now_, next->first.first);
      const link::Block block = std::move(next->second);
      waiting_.erase(next);
      block();
      drain();
    }
    now_ = until;
  }
  std::size_t timersWaiting() const { return waiting_.size(); }

 private:
  using Key = std::pair<link::Time, int>;
  struct Waiting : link::Timer {
    Waiting(ManualStrand& strand, Key key) : strand_(strand), key_(key) {}
    ~Waiting() override { strand_.waiting_.erase(key_); }
    ManualStrand& strand_;
    Key key_;
  };

  link::Time now_{};
  int timers_ = 0;
  std::deque<link::Block> posted_;
  std::map<Key, link::Block> waiting_;
};

}  // namespace tunevale::test
