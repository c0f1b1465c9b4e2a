#include "link/Items.h"

#include <algorithm>
#include <utility>

#include "link/PlantedFault.h"

namespace tunevale::link {

void Items::deliverReceived() {
  for (const Received& row : store_.received(Queue::items)) {
    deliver(row.id, row.arrival, row.body.size(), readBody(row.body).value_or(PlistDictionary{}));
  }
}

bool Items::resume(std::uint64_t next, const PlistDictionary& resume) {
  const PlistValue* value = resume.find("refused");
  if (const PlistArray* refused = value != nullptr ? value->array() : nullptr) {
    for (const PlistValue& one : *refused) {
      const PlistDictionary* refusal = one.dictionary();
      const std::uint64_t number = refusal != nullptr ? numberIn(*refusal, "item") : 0;
      if (number > 0 && number < next && !finishRefused(number, numberIn(*refusal, "code"))) return false;
    }
  }
  finishBelow(next);
  nextToWrite_ = next;
  return true;
}

void Items::addRefusals(PlistDictionary& resume) {
  const std::vector<Cursor::Refusal> refused = store_.cursor().refused;
  toldRefusals_ = refused.size();
  if (refused.empty()) return;
  PlistArray list;
  for (const Cursor::Refusal& one : refused) {
    list.append(PlistDictionary{{"item", asNumber(one.number)}, {"code", one.code}});
  }
  resume.set("refused", list);
}

bool Items::fill(FrameWriter& frames) {
  const std::optional<Row> row = store_.firstFrom(Queue::items, nextToWrite_);
  if (!row) return false;
  frames.add(FrameType::item, row->number, row->body);
  nextToWrite_ = row->number + 1;
  if constexpr (kPlantedFault == PlantedFault::deleteOnSend) store_.remove(Queue::items, row->number, false);
  store_.passes(CrashPoint::itemFilled);
  return true;
}

bool Items::fillAcknowledgements(FrameWriter& frames) {
  if (refused_.empty() && !owesAck_) return false;
  for (const auto& [number, code] : refused_) {
    frames.add(FrameType::nak, number, PlistDictionary{{"code", code}});
  }
  refused_.clear();
  std::uint64_t received = store_.cursor().nextItem - 1;
  if (kPlantedFault == PlantedFault::ackBeforeCommit && !unkept_.empty()) received = unkept_.back().number;
  frames.add(FrameType::ack, received);
  owesAck_ = false;
  store_.passes(CrashPoint::ackFilled);
  return true;
}

void Items::cancel(std::uint64_t number) {
  // One that is on its way may arrive all the same; its acknowledgement finds no row.
  store_.remove(Queue::items, number, false);
}

Objection Items::didReceiveItem(const Frame& frame) {
  const Cursor cursor = store_.cursor();
  if (!cursor.epoch) return kBeforeGap;
  // Whoever sends an item has read the RESUME of this connection.
  if (!store_.forgetRefusals(std::exchange(toldRefusals_, 0))) return kCannotKeep;
  if (frame.id < (unkept_.empty() ? cursor.nextItem : unkept_.back().number + 1)) {
    owesAck_ = true;
    return nullptr;
  }
  const std::optional<PlistDictionary> userInfo = readBody(frame.body);
  if (!userInfo || frame.body.size() > kMostUserInfo) {
    const ErrorCode code = !userInfo ? ErrorCode::unsupportedTypes : ErrorCode::payloadTooLarge;
    const Cursor::Refusal refusal{frame.id, static_cast<int>(code)};
    if (!keep() || !store_.refuseItem(refusal)) return kCannotKeep;
    refused_.push_back(refusal);
    owesAck_ = true;
    return nullptr;
  }
  unkept_.push_back({frame.id, Bytes(frame.body.begin(), frame.body.end())});
  unkeptInfos_.push_back(*userInfo);
  if constexpr (kPlantedFault == PlantedFault::ackBeforeCommit) owesAck_ = true;
  return unkept_.size() < kMostBatch || keep() ? nullptr : kCannotKeep;
}

bool Items::keep() {
  if (unkept_.empty()) return true;
  const std::vector<Row> rows = std::move(unkept_);
  const std::vector<PlistDictionary> infos = std::move(unkeptInfos_);
  unkept_.clear();
  unkeptInfos_.clear();
  const std::optional<std::uint64_t> first = store_.receive(Queue::items, rows);
  if (!first) return false;
  owesAck_ = true;
  const Epoch epoch = store_.cursor().epoch.value_or(Epoch{});
  for (std::size_t i = 0; i < rows.size(); ++i) {
    deliver(*first + i, {epoch, rows[i].number, false}, rows[i].body.size(), infos[i]);
  }
  return true;
}

void Items::deliver(std::uint64_t id, Arrival arrival, std::size_t size, const PlistDictionary& userInfo) {
  delivery_.deliver(
      {.bytes = size, .isKept = true},
      [&store = store_, id, arrival, userInfo](SessionDelegate& delegate) mutable {
        if (kPlantedFault == PlantedFault::removalSplit) {
          store.removeReceived(id);
          store.flush();
        }
        store.passes(CrashPoint::handlerBefore);
        delegate.sessionWillReceive(arrival);
        arrival.again = true;
        delegate.sessionDidReceiveUserInfo(userInfo);
      },
      [&store = store_, id] {
        store.passes(CrashPoint::handlerAfter);
        store.removeReceived(id);
      },
      kMostAttempts);
}

void Items::didReceiveAck(const Frame& frame) {
  finishBelow(std::min(frame.id, nextToWrite_ - 1) + 1);
}

Objection Items::didReceiveNak(const Frame& frame) {
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const bool good = frame.id >= nextToWrite_ || finishRefused(frame.id, body ? numberIn(*body, "code") : 0);
  return good ? nullptr : kCannotKeep;
}

bool Items::finishRefused(std::uint64_t number, std::uint64_t code) {
  std::optional<Row> row = store_.firstFrom(Queue::items, number);
  if (!row || row->number != number) return !store_.takeReadFailure();  // known already, or cancelled
  if (!store_.remove(Queue::items, number, true)) return false;
  tell(std::move(*row), errorCodeFrom(static_cast<long long>(code)));
  return true;
}

void Items::connectionDidClose() {
  owesAck_ = false;
  refused_.clear();  // told in the next RESUME
  toldRefusals_ = 0;
  keep();  // or it comes again
}

void Items::forgetAll(const std::vector<std::uint64_t>& numbers, ErrorCode code) {
  unkept_.clear();
  unkeptInfos_.clear();
  for (const std::uint64_t number : numbers) tell({number, {}}, code);
}

void Items::finishBelow(std::uint64_t number) {
  for (std::vector<Row> rows; !(rows = store_.acknowledge(Queue::items, number)).empty();) {
    for (Row& row : rows) tell(std::move(row), std::nullopt);
  }
}

void Items::tell(Row row, std::optional<ErrorCode> code) {
  delivery_.tell([row = std::move(row), code](SessionDelegate& delegate) {
    const std::optional<PlistDictionary> userInfo = readBody(row.body);
    delegate.sessionDidFinishUserInfoTransfer(row.number, userInfo.value_or(PlistDictionary{}),
                                              code ? std::optional(makeError(*code)) : std::nullopt);
  });
}

}  // namespace tunevale::link
