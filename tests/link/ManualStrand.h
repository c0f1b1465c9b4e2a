#pragma once

#include <map>
#include <random>
#include <stdexcept>
#include <utility>

#include "link/Strand.h"

namespace tunevale::link {

/// A strand whose turns and time the test gives, and whose dice repeat with the seed. One thread.
class ManualStrand : public Strand {
 public:
  explicit ManualStrand(std::uint64_t seed = 1) : dice_(seed) {}

  void post(Block block) override { blocks_.emplace(std::pair(now_, next_++), std::move(block)); }
  std::unique_ptr<Timer> after(Duration delay, Block block) override {
    auto held = std::make_shared<Block>(std::move(block));
    const auto key = std::pair(now_ + std::max(delay, Duration::zero()), next_++);
    blocks_.emplace(key, [weak = std::weak_ptr<Block>(held)] {
      if (const auto due = weak.lock()) (*due)();
    });
    return std::make_unique<ManualTimer>(*this, key, held);
  }
  Time now() const override { return now_; }
  std::uint64_t random() override { return dice_(); }

  /// Runs what is due until nothing is.
  void run() { advance({}); }
  /// Lets time pass, running each block at its own time.
  void advance(Duration duration) {
    const Time end = now_ + duration;
    for (int ran = 0; !blocks_.empty() && blocks_.begin()->first.first <= end; ++ran) {
      if (ran > 5'000'000) throw std::runtime_error("the strand never comes to rest");
      auto next = blocks_.extract(blocks_.begin());
      now_ = std::max(now_, next.key().first);
      next.mapped()();
    }
    now_ = end;
  }
  /// Blocks and timers that wait.
  std::size_t waiting() const { return blocks_.size(); }
  std::mt19937_64& dice() { return dice_; }

 private:
  using Key = std::pair<Time, std::uint64_t>;
  struct ManualTimer : Timer {
    ManualTimer(ManualStrand& on, Key at, std::shared_ptr<Block> held) : strand(on), key(at), block(held) {}
    ~ManualTimer() override { strand.blocks_.erase(key); }
    ManualStrand& strand;
    const Key key;
    const std::shared_ptr<Block> block;
  };

  Time now_{std::chrono::hours(1)};
  std::uint64_t next_ = 0;
  std::map<Key, Block> blocks_;
  std::mt19937_64 dice_;
};

}  // namespace tunevale::link
