#include "link/Contexts.h"

namespace tunevale::link {

void Contexts::deliverReceived() {
  if (const std::optional<Row> context = store_.receivedContext())
    deliver({store_.cursor().epoch.value_or(Epoch{}), context->number, true}, context->body);
}

void Contexts::resume(std::uint64_t version) {
  written_ = version;
  if (version > 0) didDeliver(version);
}

bool Contexts::fill(FrameWriter& frames) {
  if (store_.contextVersion() <= written_) return false;
  const Row context = store_.context();
  written_ = context.number;
  if (context.body.empty()) return false;  // went with an earlier pairing
  frames.add(FrameType::context, context.number, context.body);
  return true;
}

bool Contexts::fillAcknowledgements(FrameWriter& frames) {
  if (!owesAck_) return false;
  owesAck_ = false;
  frames.add(FrameType::contextAck, store_.cursor().context);
  return true;
}

Objection Contexts::didReceiveContext(const Frame& frame) {
  const Cursor cursor = store_.cursor();
  if (!cursor.epoch) return kBeforeGap;
  owesAck_ = true;
  if (frame.id <= cursor.context) return nullptr;
  if (!store_.receiveContext({frame.id, Bytes(frame.body.begin(), frame.body.end())})) return kCannotKeep;
  deliver({*cursor.epoch, frame.id, false}, frame.body);
  return nullptr;
}

void Contexts::deliver(const Arrival& arrival, ByteView body) {
  const std::optional<PlistDictionary> context = readBody(body);
  if (!context || body.size() > kMostContext) {
    // It is acknowledged all the same: sending it again would not mend it.
    store_.contextWasHandled(arrival);
    return;
  }
  delivery_.deliver(
      {.bytes = body.size(), .isKept = true},
      [&store = store_, arrival, context = *context](SessionDelegate& delegate) {
        store.passes(CrashPoint::handlerBefore);
        delegate.sessionWillReceive(arrival);
        delegate.sessionDidReceiveApplicationContext(context);
      },
      [&store = store_, arrival] {
        store.passes(CrashPoint::handlerAfter);
        store.contextWasHandled(arrival);
      });
}

void Contexts::didReceiveAck(const Frame& frame) {
  if (frame.id <= written_) didDeliver(frame.id);
}

void Contexts::didDeliver(std::uint64_t version) {
  delivery_.tell(
      [version](SessionDelegate& delegate) { delegate.sessionDidDeliverApplicationContext(version); });
}

}  // namespace tunevale::link
