// What the session makes of each frame.
#include <algorithm>

#include "link/SessionCore.h"

namespace tunevale::link {
namespace {

// Numbers of rows and versions: more than anyone counts to, and free of overflow.
constexpr std::uint64_t kMostNumber = std::uint64_t{1} << 62;

/// Of the known types alone: an unknown one is judged by its flag, whenever it comes.
bool isAfterResume(FrameType type) {
  switch (type) {
    case FrameType::message:
    case FrameType::reply:
    case FrameType::messageError:
    case FrameType::item:
    case FrameType::ack:
    case FrameType::nak:
    case FrameType::gap:
    case FrameType::context:
    case FrameType::contextAck:
    case FrameType::fileBegin:
    case FrameType::fileData:
    case FrameType::fileHave:
    case FrameType::fileDone:
    case FrameType::fileError:
    case FrameType::fileCancel:
      return true;
    default:
      return false;
  }
}

/// As an unknown frame: skipped, unless it is critical.
Objection unknown(const Frame& frame) {
  return (frame.flags & kCriticalFrame) == 0 ? nullptr : "it is not known, and critical";
}

}  // namespace

Objection SessionCore::take(const Frame& frame) {
  if (!peerResumed_ && isAfterResume(frame.type)) return "it comes before RESUME";
  // Before anything that reaches the delegate. Whoever hears of it finds the other end, once this turn is
  // over.
  if (frame.type != FrameType::state) completeActivation();
  switch (frame.type) {
    case FrameType::state:
      return takeState(frame);
    case FrameType::resume:
      return takeResume(frame);
    case FrameType::message:
      messages_.didReceiveMessage(frame);
      return nullptr;
    case FrameType::reply:
      messages_.didReceiveReply(frame);
      return nullptr;
    case FrameType::messageError:
      messages_.didReceiveError(frame);
      return nullptr;
    case FrameType::gap:
      return takeGap(frame);
    case FrameType::unpair:
      takeUnpair();
      return nullptr;
    default:
      return takeQueueFrame(frame);
  }
}

Objection SessionCore::takeQueueFrame(const Frame& frame) {
  if (frame.id > kMostNumber) return unknown(frame);
  switch (frame.type) {
    case FrameType::item:
      return items_.didReceiveItem(frame);
    case FrameType::ack:
      items_.didReceiveAck(frame);
      return nullptr;
    case FrameType::nak:
      return items_.didReceiveNak(frame);
    case FrameType::context:
      return contexts_.didReceiveContext(frame);
    case FrameType::contextAck:
      contexts_.didReceiveAck(frame);
      return nullptr;
    case FrameType::fileBegin:
      return fileReceiver_.didReceiveBegin(frame);
    case FrameType::fileData:
      return fileReceiver_.didReceiveData(frame);
    case FrameType::fileCancel:
      fileReceiver_.didReceiveCancel(frame);
      return nullptr;
    case FrameType::fileHave:
      fileSender_.didReceiveHave(frame);
      return nullptr;
    case FrameType::fileDone:
      fileSender_.didReceiveDone(frame);
      return nullptr;
    case FrameType::fileError:
      fileSender_.didReceiveError(frame);
      return nullptr;
    default:
      return unknown(frame);
  }
}

Objection SessionCore::takeState(const Frame& frame) {
  const std::optional<PlistDictionary> body = readBody(frame.body);
  const PlistValue* active = body ? body->find("active") : nullptr;
  const PlistValue* locked = body ? body->find("locked") : nullptr;
  peerActive_ = active != nullptr && active->boolean().value_or(false);
  state_.needsUnlock = locked != nullptr && locked->boolean().value_or(false);
  report();
  return store_.setPeerLocked(state_.needsUnlock) ? nullptr : kCannotKeep;
}

Objection SessionCore::takeResume(const Frame& frame) {
  const PlistDictionary body = readBody(frame.body).value_or(PlistDictionary{});
  const std::optional<ByteView> epoch = bytesIn(body, "epoch");
  const Epoch own = store_.epoch();
  std::uint64_t item = numberIn(body, "item");
  std::uint64_t file = numberIn(body, "file");
  const bool known = epoch && std::equal(epoch->begin(), epoch->end(), own.begin(), own.end()) &&
                     store_.canWaitFor(Queue::items, item) && store_.canWaitFor(Queue::files, file) &&
                     store_.canHaveContext(numberIn(body, "context"));
  // What the other end acknowledged, it has lost: it knows nothing, or not all of it.
  const bool lost = !known && !(store_.canWaitFor(Queue::items, 1) && store_.canWaitFor(Queue::files, 1));
  if (!known) {
    const auto firstOf = [this](Queue queue) {
      const std::optional<Row> row = store_.firstFrom(queue, 1);
      return row ? row->number : store_.nextNumber(queue);
    };
    item = firstOf(Queue::items);
    file = firstOf(Queue::files);
    if (store_.takeReadFailure()) return kCannotKeep;  // no row is no proof that the other end has it
    current_->sendFirst(
        FrameType::gap,
        PlistDictionary{{"epoch", ByteView(own)}, {"item", asNumber(item)}, {"file", asNumber(file)}});
  }
  if (!items_.resume(item, known ? body : PlistDictionary{})) return kCannotKeep;
  fileSender_.resume(file);
  contexts_.resume(known ? numberIn(body, "context") : 0);
  if (lost) delivery_.tell([](SessionDelegate& delegate) { delegate.sessionDidResetQueues(); });
  maySend_ = store_.setSending(true);
  peerResumed_ = true;
  report();
  return nullptr;
}

Objection SessionCore::takeGap(const Frame& frame) {
  const PlistDictionary body = readBody(frame.body).value_or(PlistDictionary{});
  const std::optional<ByteView> epoch = bytesIn(body, "epoch");
  Cursor cursor;
  cursor.epoch.emplace();
  cursor.nextItem = numberIn(body, "item");
  cursor.nextFile = numberIn(body, "file");
  if (!epoch || epoch->size() != cursor.epoch->size() || cursor.nextItem == 0 ||
      cursor.nextItem > kMostNumber || cursor.nextFile == 0 || cursor.nextFile > kMostNumber) {
    return "it lacks an epoch or a number";
  }
  std::copy(epoch->begin(), epoch->end(), cursor.epoch->begin());
  const bool isFirst = !store_.cursor().epoch;
  // What has come of the numbering before is kept under it.
  if (!items_.keep() || !store_.restart(cursor)) return kCannotKeep;
  fileReceiver_.forget();
  if (!isFirst) delivery_.tell([](SessionDelegate& delegate) { delegate.sessionDidResetQueues(); });
  return nullptr;
}

}  // namespace tunevale::link
