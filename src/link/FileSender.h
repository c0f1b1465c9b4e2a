#pragma once

#include <fstream>
#include <optional>
#include <vector>

#include "link/Delivery.h"
#include "link/FrameWriter.h"
#include "link/LinkStore.h"

namespace tunevale::link {

/// The body of a row for a file of ours: where its copy lies, and what goes with it.
Bytes fileRow(const std::string& path, std::uint64_t size, const PlistDictionary& metadata);

/// Files on their way out, one after another, a chunk at a time. Strand only.
class FileSender {
 public:
  FileSender(LinkStore& store, Delivery& delivery) : store_(store), delivery_(delivery) {}

  /// The other end has everything below this number.
  void resume(std::uint64_t next);
  bool fill(FrameWriter& frames);
  void cancel(std::uint64_t number);
  void didReceiveHave(const Frame& frame);
  void didReceiveDone(const Frame& frame);
  void didReceiveError(const Frame& frame);
  void connectionDidClose();

 private:
  enum class Phase { idle, offered, sending, sent };
  bool offerNext(FrameWriter& frames);
  bool sendChunk(FrameWriter& frames);
  void finish(const Row& row, std::optional<ErrorCode> code);
  void finish(std::uint64_t number, std::optional<ErrorCode> code);

  LinkStore& store_;
  Delivery& delivery_;
  Phase phase_ = Phase::idle;
  std::uint64_t number_ = 0;  // of the current one
  std::uint64_t size_ = 0;
  std::uint64_t offset_ = 0;
  std::ifstream file_;
  std::vector<std::uint64_t> cancelled_;
};

}  // namespace tunevale::link
