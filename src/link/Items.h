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

  /// Delivers what an earlier process received.
  void deliverReceived();
  /// The other end has everything below this number, but for what it says it has refused. False when that
  /// cannot be kept.
  bool resume(std::uint64_t next, const PlistDictionary& resume);
  /// What this end has refused, for its RESUME.
  void addRefusals(PlistDictionary& resume);
  bool fill(FrameWriter& frames);
  bool fillAcknowledgements(FrameWriter& frames);
  void cancel(std::uint64_t number);
  Objection didReceiveItem(const Frame& frame);
  Objection didReceiveNak(const Frame& frame);
  /// Keeps what has come, in one step, and delivers it; only then is it acknowledged.
  bool keep();
  bool hasUnkept() const { return !unkept_.empty(); }
  void didReceiveAck(const Frame& frame);
  void connectionDidClose();
  /// The rows are gone already.
  void forgetAll(const std::vector<std::uint64_t>& numbers, ErrorCode code);

 private:
  void deliver(std::uint64_t id, Arrival arrival, std::size_t size, const PlistDictionary& userInfo);
  void tell(Row row, std::optional<ErrorCode> code);
  void finishBelow(std::uint64_t number);
  bool finishRefused(std::uint64_t number, std::uint64_t code);

  LinkStore& store_;
  Delivery& delivery_;
  std::uint64_t nextToWrite_ = 1;
  std::vector<Row> unkept_;
  std::vector<PlistDictionary> unkeptInfos_;
  bool owesAck_ = false;
  std::vector<Cursor::Refusal> refused_;  // to tell
  std::size_t toldRefusals_ = 0;          // in the RESUME of this connection
};

}  // namespace tunevale::link
