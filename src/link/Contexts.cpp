#include "link/Contexts.h"

namespace tunevale::link {

void Contexts::resume(std::uint64_t version) {
  written_ = version;
  if (version > 0) didDeliver(version);
}

bool Contexts::fill(FrameWriter& frames) {
  if (store_.contextVersion() <= written_) return false;
  const Row context = store_.context();
  frames.add(FrameType::context, context.number, context.body);
  written_ = context.number;
  return true;
}

bool Contexts::fillAcknowledgements(FrameWriter& frames) {
  if (!owesAck_) return false;
  owesAck_ = false;
  frames.add(FrameType::contextAck, store_.cursor().context);
  return true;
}

bool Contexts::didReceiveContext(const Frame& frame) {
  const Cursor cursor = store_.cursor();
  if (!cursor.epoch) return false;
  owesAck_ = true;
  if (frame.id <= cursor.context) return true;
  if (!store_.receiveContext({frame.id, Bytes(frame.body.begin(), frame.body.end())})) return false;
  // One that does not decode is acknowledged all the same: sending it again would not mend it.
  if (const std::optional<PlistDictionary> context = readBody(frame.body)) {
    delivery_.deliver(frame.body.size(), [context = *context](SessionDelegate& delegate) {
      delegate.sessionDidReceiveApplicationContext(context);
    });
  }
  return true;
}

void Contexts::didReceiveAck(const Frame& frame) {
  if (frame.id <= written_) didDeliver(frame.id);
}

void Contexts::didDeliver(std::uint64_t version) {
  delivery_.tell(
      [version](SessionDelegate& delegate) { delegate.sessionDidDeliverApplicationContext(version); });
}

}  // namespace tunevale::link
