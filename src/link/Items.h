#pragma once

#include <vector>

#include "link/Delivery.h"
#include "link/FrameWriter.h"
#include "link/LinkStore.h"

namespace tunevale::link {

/// User info, both ways: numbered, kept until acknowledged, delivered once and in order. Strand only.
class Items {
 public:
  Items(LinkStore& store, Delivery& delivery) : store_(store), delivery_(delivery) {}

  /// The other end has everything below this number.
  void resume(std::uint64_t next);
  bool fill(FrameWriter& frames);
  bool fillAcknowledgements(FrameWriter& frames);
  void cancel(std::uint64_t number);
  /// False when the connection cannot go on.
  bool didReceiveItem(const Frame& frame);
  void didReceiveAck(const Frame& frame);
  void didReceiveNak(const Frame& frame);
  void connectionDidClose();

 private:
  void finish(Row row, std::optional<ErrorCode> code);
  void finishBelow(std::uint64_t number);

  LinkStore& store_;
  Delivery& delivery_;
  std::uint64_t nextToWrite_ = 1;
  bool owesAck_ = false;
  std::vector<std::uint64_t> refused_;
};

}  // namespace tunevale::link
