#include "link/FileReceiver.h"

#include <algorithm>

#include "link/PlantedFault.h"

namespace tunevale::link {

void FileReceiver::deliverReceived() {
  for (const Received& received : store_.received(Queue::files)) {
    const FileRow row = readFileRow(received.body);
    if (spool_->open(row.name) != nullptr) {
      deliver(received.id, received.arrival, row);
    } else {
      store_.removeReceived(received.id);  // handled: only then is the file removed, or taken away
    }
  }
}

bool FileReceiver::fillAcknowledgements(FrameWriter& frames) {
  if (owed_.empty()) return false;
  for (const Owed& owed : owed_) frames.add(owed.type, owed.number, owed.body);
  owed_.clear();
  return true;
}

Objection FileReceiver::didReceiveBegin(const Frame& frame) {
  const Cursor cursor = store_.cursor();
  if (!cursor.epoch) return kBeforeGap;
  if (owed_.size() > kMostUnreadAnswers) return "its answers are not read";
  if (frame.id < cursor.nextFile) {
    owed_.push_back({FrameType::fileDone, frame.id, {}});
    return nullptr;
  }
  const PlistDictionary body = readBody(frame.body).value_or(PlistDictionary{});
  const PlistValue* metadata = body.find("metadata");
  const std::optional<std::uint64_t> size = wholeNumberIn(body, "size");
  const std::optional<Bytes32> hash = bytes32In(body, "sha256");
  if (metadata == nullptr || metadata->dictionary() == nullptr || !size || !hash) {
    return refuse(frame.id, ErrorCode::unsupportedTypes);
  }
  if (*size > kMostFile || isLargerThan(kMostMetadata, *metadata->dictionary(), frame.body.size())) {
    return refuse(frame.id, ErrorCode::payloadTooLarge);
  }
  if (partial_ == nullptr || partial_->number != frame.id || partial_->size != *size ||
      partial_->hash != *hash) {
    if (partial_ != nullptr && partial_->number != frame.id) forget();
    partial_ = std::make_unique<Partial>();
    partial_->number = frame.id;
    partial_->size = *size;
    partial_->hash = *hash;
    open(*cursor.epoch);
  }
  partial_->metadata = *metadata->dictionary();
  if (partial_->file == nullptr) return refuse(frame.id, ErrorCode::insufficientSpace);
  partial_->isHeld = true;
  refused_ = 0;
  return makeRoom();
}

void FileReceiver::open(const Epoch& epoch) {
  Partial& partial = *partial_;
  partial.name = partName(epoch, partial.number);
  partial.received = {};
  partial.file = spool_->open(partial.name);
  Bytes chunk;
  for (std::uint64_t at = 0; partial.file != nullptr && at < partial.file->size(); at += chunk.size()) {
    chunk.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kFileChunk, partial.file->size() - at)));
    if (partial.file->size() > partial.size || !partial.file->read(at, chunk)) {
      partial.file.reset();
    } else {
      partial.received.add(chunk);
    }
  }
  partial.fromBefore = partial.file != nullptr;
  if (partial.fromBefore) return;
  partial.received = {};
  partial.file = spool_->create(partial.name);
  store_.passes(CrashPoint::filePartOpened);
}

Objection FileReceiver::makeRoom() {
  if (partial_ == nullptr || !partial_->isHeld || !delivery_.hasRoomForFile(partial_->size)) return nullptr;
  partial_->isHeld = false;
  owed_.push_back(
      {FrameType::fileHave, partial_->number, PlistDictionary{{"offset", asNumber(partial_->file->size())}}});
  return completeIfWhole();
}

Objection FileReceiver::didReceiveData(const Frame& frame) {
  if (frame.id == refused_) return nullptr;  // this was under way then
  if (partial_ == nullptr || partial_->number != frame.id || partial_->isHeld) return "it was not asked for";
  const PlistDictionary body = readBody(frame.body).value_or(PlistDictionary{});
  const std::optional<ByteView> data = bytesIn(body, "data");
  if (!data) return "it has no data";
  if (data->size() > kFileChunk) return "it has more than 65,536 bytes";
  const std::uint64_t size = partial_->file->size();
  if (wholeNumberIn(body, "offset") != size) return "its bytes are not those that are next";
  if (data->size() > partial_->size - size) return "it goes past the file's size";
  if (!partial_->file->append(*data)) return refuse(frame.id, ErrorCode::insufficientSpace);
  partial_->received.add(*data);
  store_.passes(CrashPoint::fileChunkKept);
  return completeIfWhole();
}

void FileReceiver::didReceiveCancel(const Frame& frame) {
  if (partial_ != nullptr && partial_->number == frame.id) forget();
}

void FileReceiver::forget() {
  if (partial_ == nullptr) return;
  spool_->remove(partial_->name);
  partial_.reset();
}

void FileReceiver::connectionDidClose() {
  owed_.clear();
  refused_ = 0;
  if (partial_ != nullptr) partial_->isHeld = false;
}

Objection FileReceiver::refuse(std::uint64_t number, ErrorCode code) {
  forget();
  refused_ = number;
  owed_.push_back({FrameType::fileError, number, PlistDictionary{{"code", static_cast<int>(code)}}});
  return nullptr;
}

Objection FileReceiver::completeIfWhole() {
  if (partial_->file->size() < partial_->size) return nullptr;
  store_.passes(CrashPoint::fileWhole);
  if (partial_->received.finish() != partial_->hash) {
    if (!partial_->fromBefore) return refuse(partial_->number, ErrorCode::deliveryFailed);
    // The beginning that an earlier process kept is not what it was: all of it once more.
    partial_->received = {};
    partial_->fromBefore = false;
    partial_->file = spool_->create(partial_->name);
    if (partial_->file == nullptr) return refuse(partial_->number, ErrorCode::insufficientSpace);
    owed_.push_back({FrameType::fileHave, partial_->number, PlistDictionary{{"offset", 0}}});
    return nullptr;
  }
  return keepWhole();
}

Objection FileReceiver::keepWhole() {
  const bool synced = partial_->file->sync();
  if (synced) store_.passes(CrashPoint::fileSynced);
  const FileRow row{newSpoolName(), partial_->size, partial_->hash, partial_->metadata};
  if (!synced || !spool_->rename(partial_->name, row.name) || !spool_->sync()) {
    spool_->remove(row.name);
    return refuse(partial_->number, ErrorCode::insufficientSpace);
  }
  store_.passes(CrashPoint::fileRenamed);
  const std::uint64_t number = partial_->number;
  partial_.reset();
  const Row rows[] = {{number, writeFileRow(row)}};
  const std::optional<std::uint64_t> id = store_.receive(Queue::files, rows);
  // The other end sends it again. The file stays until the sweep: a commit that failed may yet turn up.
  if (!id) return kCannotKeep;
  owed_.push_back({FrameType::fileDone, number, {}});
  deliver(*id, {store_.cursor().epoch.value_or(Epoch{}), number, false}, row);
  return nullptr;
}

void FileReceiver::deliver(std::uint64_t id, Arrival arrival, const FileRow& row) {
  delivery_.deliver(
      {.fileBytes = row.size, .isKept = true},
      [&store = store_, spool = spool_, id, arrival, name = row.name,
       metadata = row.metadata](SessionDelegate& delegate) mutable {
        if (kPlantedFault == PlantedFault::removalSplit) {
          store.removeReceived(id);
          store.flush();
        }
        if (spool->open(name) == nullptr)
          return;  // swept away as the pairing ended, or taken by a handler that threw
        store.passes(CrashPoint::handlerBefore);
        delegate.sessionWillReceive(arrival);
        arrival.again = true;
        delegate.sessionDidReceiveFile(spool->path(name), metadata);
      },
      [&store = store_, spool = spool_, id, name = row.name] {
        store.passes(CrashPoint::handlerAfter);
        spool->remove(name);
        store.passes(CrashPoint::fileRemoved);
        store.removeReceived(id);
      },
      kMostAttempts);
}

}  // namespace tunevale::link
