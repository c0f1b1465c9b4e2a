#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "foundation/Mutex.h"
#include "link/Delivery.h"
#include "link/FileRows.h"
#include "link/FrameWriter.h"

namespace tunevale::link {

/// Files on their way out, one after another, a chunk at a time. Strand only, but for what says otherwise.
class FileSender {
 public:
  /// Sweeps the spool.
  FileSender(LinkStore& store, Delivery& delivery, std::shared_ptr<Spool> spool)
      : store_(store), delivery_(delivery), spool_(std::move(spool)) {
    queuedBytes_ = sweepSpool(*spool_, store_).value_or(0);
  }

  /// Copies a file and queues it; its number, or 7009, 7013 or 7015. Any thread.
  std::variant<std::uint64_t, ErrorCode> queue(const std::string& path, const PlistDictionary& metadata);

  /// The other end has everything below this number.
  void resume(std::uint64_t next);
  bool fill(FrameWriter& frames);
  void cancel(std::uint64_t number);
  void didReceiveHave(const Frame& frame);
  void didReceiveDone(const Frame& frame);
  void didReceiveError(const Frame& frame);
  void connectionDidClose();
  /// The rows are gone already. Sweeps the spool.
  void forgetAll(const std::vector<std::uint64_t>& numbers, ErrorCode code);

 private:
  enum class Phase { idle, offered, sending, sent };
  bool offerNext(FrameWriter& frames);
  bool sendChunk(FrameWriter& frames);
  /// False when the row could not be removed; nobody is told then.
  bool finish(std::uint64_t number, std::optional<ErrorCode> code, bool delivered, bool tells = true);
  void rowWasRemoved(const Row& row);
  void tell(std::uint64_t number, std::optional<ErrorCode> code);

  LinkStore& store_;
  Delivery& delivery_;
  const std::shared_ptr<Spool> spool_;
  Mutex queueMutex_;  // from a copy in the spool to its row, and while the spool is swept
  std::atomic<std::uint64_t> queuedBytes_ = 0;
  Phase phase_ = Phase::idle;
  bool stuck_ = false;        // what cannot be removed is not offered again in this connection
  std::uint64_t number_ = 0;  // of the current one
  std::uint64_t size_ = 0;
  std::uint64_t offset_ = 0;
  std::unique_ptr<SpoolFile> file_;
  std::vector<std::uint64_t> cancelled_;
};

}  // namespace tunevale::link
