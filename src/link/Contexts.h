#pragma once

#include "link/Delivery.h"
#include "link/FrameWriter.h"
#include "link/LinkStore.h"

namespace tunevale::link {

/// The application context, both ways: only the latest counts. Strand only.
class Contexts {
 public:
  Contexts(LinkStore& store, Delivery& delivery) : store_(store), delivery_(delivery) {}

  /// Delivers what an earlier process received.
  void deliverReceived();
  /// The other end has this version.
  void resume(std::uint64_t version);
  bool fill(FrameWriter& frames);
  bool fillAcknowledgements(FrameWriter& frames);
  Objection didReceiveContext(const Frame& frame);
  void didReceiveAck(const Frame& frame);
  void connectionDidClose() { owesAck_ = false; }

 private:
  void deliver(const Arrival& arrival, ByteView body);
  void didDeliver(std::uint64_t version);

  LinkStore& store_;
  Delivery& delivery_;
  std::uint64_t written_ = 0;
  bool owesAck_ = false;
};

}  // namespace tunevale::link
