#pragma once

#include <map>

#include "foundation/Mutex.h"
#include "link/LinkStore.h"

namespace tunevale::link {

class Strand;

/// 128 bits from the strand's dice. Strand only.
Epoch newEpoch(Strand& strand);

/// A store that lives as long as the process.
class MemoryStore : public LinkStore {
 public:
  explicit MemoryStore(const Epoch& epoch) : epoch_(epoch) {}
  Epoch epoch() const override { return epoch_; }
  std::optional<std::uint64_t> append(Queue queue, Bytes body) override;
  std::optional<Row> firstFrom(Queue queue, std::uint64_t number) const override;
  bool remove(Queue queue, std::uint64_t number) override;
  std::uint64_t nextNumber(Queue queue) const override;
  Row context() const override;
  std::uint64_t contextVersion() const override;
  void setContext(Row context) override;
  Cursor cursor() const override;
  void restart(const Cursor& cursor) override;
  bool receive(Queue queue, Row row) override;
  bool receiveContext(Row context) override;
  void skip(Queue queue, std::uint64_t number) override;
  /// Received rows are not kept: what was received and not handled is lost with the process.
  void removeReceived(Queue, std::uint64_t) override {}

 private:
  struct Outgoing {
    std::map<std::uint64_t, Bytes> rows;
    std::uint64_t next = 1;
    std::size_t bytes = 0;
  };
  Outgoing& outgoing(Queue queue) REQUIRES_LOCK(mutex_) { return queue == Queue::items ? items_ : files_; }
  const Outgoing& outgoing(Queue queue) const REQUIRES_LOCK(mutex_) {
    return queue == Queue::items ? items_ : files_;
  }

  const Epoch epoch_;
  mutable Mutex mutex_;
  Outgoing items_ GUARDED_BY(mutex_);
  Outgoing files_ GUARDED_BY(mutex_);
  Row context_ GUARDED_BY(mutex_);
  Cursor cursor_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::link
