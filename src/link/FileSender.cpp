#include "link/FileSender.h"

#include <algorithm>

namespace tunevale::link {

std::variant<std::uint64_t, ErrorCode> FileSender::queue(const std::string& path,
                                                         const PlistDictionary& metadata) {
  const MutexLock lock(queueMutex_);
  if (queuedBytes_ >= kMostQueuedFileBytes) return ErrorCode::insufficientSpace;
  std::variant<FileRow, ErrorCode> copied = copyIntoSpool(path, *spool_, store_);
  if (const ErrorCode* error = std::get_if<ErrorCode>(&copied)) return *error;
  FileRow& row = std::get<FileRow>(copied);
  row.metadata = metadata;
  // Counted first: the row may be sent and gone before append() returns here.
  queuedBytes_ += row.size;
  const std::optional<std::uint64_t> number =
      queuedBytes_ <= kMostQueuedFileBytes ? store_.append(Queue::files, writeFileRow(row)) : std::nullopt;
  if (number) return *number;
  queuedBytes_ -= row.size;
  spool_->remove(row.name);
  return ErrorCode::insufficientSpace;
}

void FileSender::resume(std::uint64_t next) {
  connectionDidClose();
  for (std::vector<Row> rows; !(rows = store_.acknowledge(Queue::files, next)).empty();) {
    for (const Row& row : rows) {
      rowWasRemoved(row);
      tell(row.number, std::nullopt);
    }
  }
}

bool FileSender::fill(FrameWriter& frames) {
  if (!cancelled_.empty()) {
    for (const std::uint64_t number : cancelled_) frames.add(FrameType::fileCancel, number);
    cancelled_.clear();
    return true;
  }
  if (phase_ == Phase::idle) return offerNext(frames);
  return phase_ == Phase::sending && sendChunk(frames);
}

bool FileSender::offerNext(FrameWriter& frames) {
  while (!stuck_) {
    const std::optional<Row> row = store_.firstFrom(Queue::files, 1);
    if (!row) break;
    const FileRow body = readFileRow(row->body);
    file_ = spool_->open(body.name);
    if (file_ == nullptr || file_->size() != body.size) {
      stuck_ = !finish(row->number, ErrorCode::fileAccessDenied, false);
      continue;
    }
    number_ = row->number;
    size_ = body.size;
    phase_ = Phase::offered;
    frames.add(FrameType::fileBegin, number_,
               PlistDictionary{
                   {"size", asNumber(size_)}, {"metadata", body.metadata}, {"sha256", ByteView(body.hash)}});
    store_.passes(CrashPoint::fileOffered);
    return true;
  }
  return false;
}

bool FileSender::sendChunk(FrameWriter& frames) {
  Bytes chunk(static_cast<std::size_t>(std::min<std::uint64_t>(kFileChunk, size_ - offset_)));
  if (!file_->read(offset_, chunk)) {
    cancelled_.push_back(number_);
    stuck_ = !finish(number_, ErrorCode::fileAccessDenied, false);
    return fill(frames);
  }
  frames.add(FrameType::fileData, number_, PlistDictionary{{"offset", asNumber(offset_)}, {"data", chunk}});
  offset_ += chunk.size();
  if (offset_ == size_) phase_ = Phase::sent;
  store_.passes(CrashPoint::fileChunkSent);
  return true;
}

void FileSender::cancel(std::uint64_t number) {
  const bool isCurrent = phase_ != Phase::idle && number == number_;
  if (finish(number, std::nullopt, false, false) && isCurrent) cancelled_.push_back(number);
}

void FileSender::didReceiveHave(const Frame& frame) {
  // The second answer, after everything was sent, asks for it once more: what came was not what was offered.
  if ((phase_ != Phase::offered && phase_ != Phase::sent) || frame.id != number_) return;
  const std::optional<PlistDictionary> body = readBody(frame.body);
  offset_ = std::min(body ? numberIn(*body, "offset") : 0, size_);
  phase_ = offset_ == size_ ? Phase::sent : Phase::sending;
}

void FileSender::didReceiveDone(const Frame& frame) {
  if (frame.id == number_) stuck_ = !finish(frame.id, std::nullopt, true);
}

void FileSender::didReceiveError(const Frame& frame) {
  if (frame.id != number_) return;
  const std::optional<PlistDictionary> body = readBody(frame.body);
  // Not delivered: the other end may go on waiting for this number.
  stuck_ =
      !finish(frame.id, errorCodeFrom(body ? static_cast<long long>(numberIn(*body, "code")) : 0), false);
}

void FileSender::connectionDidClose() {
  phase_ = Phase::idle;
  stuck_ = false;
  file_.reset();
  cancelled_.clear();
}

void FileSender::forgetAll(const std::vector<std::uint64_t>& numbers, ErrorCode code) {
  connectionDidClose();
  {
    const MutexLock lock(queueMutex_);  // what was queued since the rows went stays
    queuedBytes_ = sweepSpool(*spool_, store_).value_or(0);
  }
  for (const std::uint64_t number : numbers) tell(number, code);
}

bool FileSender::finish(std::uint64_t number, std::optional<ErrorCode> code, bool delivered, bool tells) {
  const std::optional<Row> row = store_.firstFrom(Queue::files, number);
  if (!row || row->number != number) return true;  // answered twice, or cancelled meanwhile
  if (phase_ != Phase::idle && number == number_) {
    phase_ = Phase::idle;
    file_.reset();
  }
  if (!store_.remove(Queue::files, number, delivered)) return false;
  rowWasRemoved(*row);
  if (tells) tell(number, code);
  return true;
}

void FileSender::rowWasRemoved(const Row& row) {
  store_.passes(CrashPoint::fileRowRemoved);
  const FileRow body = readFileRow(row.body);
  spool_->remove(body.name);
  // Not below nothing: a sweep that could not read has counted too little.
  for (std::uint64_t before = queuedBytes_;
       !queuedBytes_.compare_exchange_weak(before, before - std::min(before, body.size));) {
  }
}

void FileSender::tell(std::uint64_t number, std::optional<ErrorCode> code) {
  delivery_.tell([number, code](SessionDelegate& delegate) {
    delegate.sessionDidFinishFileTransfer(number, code ? std::optional(makeError(*code)) : std::nullopt);
  });
}

}  // namespace tunevale::link
