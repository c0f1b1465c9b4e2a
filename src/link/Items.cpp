#include "link/Items.h"

#include <algorithm>

namespace tunevale::link {

void Items::resume(std::uint64_t next) {
  finishBelow(next);
  nextToWrite_ = next;
}

bool Items::fill(FrameWriter& frames) {
  const std::optional<Row> row = store_.firstFrom(Queue::items, nextToWrite_);
  if (!row) return false;
  frames.add(FrameType::item, row->number, row->body);
  nextToWrite_ = row->number + 1;
  return true;
}

bool Items::fillAcknowledgements(FrameWriter& frames) {
  if (refused_.empty() && !owesAck_) return false;
  for (const std::uint64_t number : refused_) {
    frames.add(FrameType::nak, number,
               PlistDictionary{{"code", static_cast<int>(ErrorCode::unsupportedTypes)}});
  }
  refused_.clear();
  frames.add(FrameType::ack, store_.cursor().nextItem - 1);
  owesAck_ = false;
  return true;
}

void Items::cancel(std::uint64_t number) {
  // One that is on its way may arrive all the same; its acknowledgement finds no row.
  store_.remove(Queue::items, number);
}

bool Items::didReceiveItem(const Frame& frame) {
  const Cursor cursor = store_.cursor();
  if (!cursor.epoch) return false;
  owesAck_ = true;
  if (frame.id < cursor.nextItem) return true;
  const std::optional<PlistValue> value = readPropertyList(frame.body);
  const PlistDictionary* userInfo = value ? value->dictionary() : nullptr;
  if (userInfo == nullptr) {
    store_.skip(Queue::items, frame.id);
    refused_.push_back(frame.id);
    return refused_.size() <= kMostUnreadAnswers;
  }
  if (!store_.receive(Queue::items, {frame.id, Bytes(frame.body.begin(), frame.body.end())})) return false;
  delivery_.deliver(
      frame.body.size(),
      [userInfo = *userInfo](SessionDelegate& delegate) { delegate.sessionDidReceiveUserInfo(userInfo); },
      kMostAttempts, [&store = store_, number = frame.id] { store.removeReceived(Queue::items, number); });
  return true;
}

void Items::didReceiveAck(const Frame& frame) {
  finishBelow(std::min(frame.id, nextToWrite_ - 1) + 1);
}

void Items::didReceiveNak(const Frame& frame) {
  std::optional<Row> row = store_.firstFrom(Queue::items, frame.id);
  if (!row || row->number != frame.id || frame.id >= nextToWrite_) return;
  const std::optional<PlistDictionary> body = readBody(frame.body);
  finish(std::move(*row), errorCodeFrom(body ? static_cast<long long>(numberIn(*body, "code")) : 0));
}

void Items::connectionDidClose() {
  owesAck_ = false;
  refused_.clear();
}

void Items::finishBelow(std::uint64_t number) {
  while (std::optional<Row> row = store_.firstFrom(Queue::items, 1)) {
    if (row->number >= number) return;
    finish(std::move(*row), std::nullopt);
  }
}

void Items::finish(Row row, std::optional<ErrorCode> code) {
  store_.remove(Queue::items, row.number);
  delivery_.tell([row = std::move(row), code](SessionDelegate& delegate) {
    const std::optional<PlistDictionary> userInfo = readBody(row.body);
    delegate.sessionDidFinishUserInfoTransfer(row.number, userInfo.value_or(PlistDictionary{}),
                                              code ? std::optional(makeError(*code)) : std::nullopt);
  });
}

}  // namespace tunevale::link
