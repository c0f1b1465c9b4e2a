#pragma once

#include <memory>

#include "link/Mailbox.h"
#include "link/Session.h"

namespace tunevale::link {

/// The way of what arrived to the delegate, and the count of what is still under way there. Strand only.
class Delivery {
 public:
  using Call = std::function<void(SessionDelegate&)>;
  using LogLine = std::function<void(const std::string&)>;
  Delivery(std::shared_ptr<Mailbox> mailbox, SessionDelegate& delegate, Executor deliver, Executor answer,
           LogLine log)
      : mailbox_(std::move(mailbox)),
        delegate_(delegate),
        deliver_(std::move(deliver)),
        answer_(std::move(answer)),
        log_(std::move(log)) {}

  /// What waits for its turn.
  struct Weight {
    std::size_t bytes = 0;
    std::uint64_t fileBytes = 0;
    bool isKept = false;  // the store has a word to say when it is handled
  };
  /// Calls the delegate in turn, up to `attempts` times as long as it throws, and logs that it does so for
  /// good; then `handled`, in the same turn.
  void deliver(const Weight& weight, Call call, Block handled = {}, int attempts = 1);
  /// Tells the delegate something that came from this end itself.
  void tell(Call call);
  /// Runs a block on the answer executor.
  void answer(Block block) { answer_(std::move(block)); }
  void tellState(const LinkState& state);

  /// Whether so much waits that reading should pause, and whether enough is handled to go on.
  bool isFull() const { return payloads_ >= kMostUndelivered || bytes_ >= kMostUndeliveredBytes; }
  bool isHalfFull() const { return payloads_ > kMostUndelivered / 2 || bytes_ > kMostUndeliveredBytes / 2; }
  /// A file may be larger than the room for all, but then it comes alone.
  bool hasRoomForFile(std::uint64_t size) const {
    return fileBytes_ == 0 || fileBytes_ + size <= kMostUndeliveredFileBytes;
  }
  /// One payload of this weight has been handled.
  void handled(const Weight& weight);

 private:
  std::shared_ptr<Mailbox> mailbox_;
  SessionDelegate& delegate_;
  Executor deliver_;
  Executor answer_;
  const LogLine log_;
  std::size_t payloads_ = 0;
  std::size_t bytes_ = 0;
  std::uint64_t fileBytes_ = 0;
};

}  // namespace tunevale::link
