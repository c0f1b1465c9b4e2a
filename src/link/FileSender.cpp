#include "link/FileSender.h"

#include <algorithm>
#include <filesystem>

namespace tunevale::link {
namespace {

std::string pathIn(const PlistDictionary& row) {
  const PlistValue* path = row.find("path");
  return std::string(path != nullptr ? path->string().value_or("") : "");
}

}  // namespace

Bytes fileRow(const std::string& path, std::uint64_t size, const PlistDictionary& metadata) {
  return writePropertyList(PlistDictionary{{"path", path}, {"size", asNumber(size)}, {"metadata", metadata}});
}

void FileSender::resume(std::uint64_t next) {
  connectionDidClose();
  while (const std::optional<Row> row = store_.firstFrom(Queue::files, 1)) {
    if (row->number >= next) return;
    finish(*row, std::nullopt);
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
  while (const std::optional<Row> row = store_.firstFrom(Queue::files, 1)) {
    const PlistDictionary body = readBody(row->body).value_or(PlistDictionary{});
    file_.clear();
    file_.open(pathIn(body), std::ios::binary);
    if (!file_) {
      finish(*row, ErrorCode::fileAccessDenied);
      continue;
    }
    number_ = row->number;
    size_ = numberIn(body, "size");
    phase_ = Phase::offered;
    const PlistValue* metadata = body.find("metadata");
    frames.add(FrameType::fileBegin, number_,
               PlistDictionary{{"size", asNumber(size_)},
                               {"metadata", metadata != nullptr ? *metadata : PlistDictionary{}},
                               {"sha256", ByteView{}}});
    return true;
  }
  return false;
}

bool FileSender::sendChunk(FrameWriter& frames) {
  Bytes chunk(static_cast<std::size_t>(std::min<std::uint64_t>(kFileChunk, size_ - offset_)));
  file_.seekg(static_cast<std::streamoff>(offset_));
  if (!file_.read(reinterpret_cast<char*>(chunk.data()), static_cast<std::streamsize>(chunk.size()))) {
    cancelled_.push_back(number_);
    finish(number_, ErrorCode::fileAccessDenied);
    return fill(frames);
  }
  frames.add(FrameType::fileData, number_, PlistDictionary{{"offset", asNumber(offset_)}, {"data", chunk}});
  offset_ += chunk.size();
  if (offset_ == size_) phase_ = Phase::sent;
  return true;
}

void FileSender::cancel(std::uint64_t number) {
  const bool isCurrent = phase_ != Phase::idle && number == number_;
  finish(number, std::nullopt);  // removes the copy; nobody is told, as the caller knows
  if (isCurrent) cancelled_.push_back(number);
}

void FileSender::didReceiveHave(const Frame& frame) {
  if (phase_ != Phase::offered || frame.id != number_) return;
  const std::optional<PlistDictionary> body = readBody(frame.body);
  offset_ = std::min(body ? numberIn(*body, "offset") : 0, size_);
  phase_ = offset_ == size_ ? Phase::sent : Phase::sending;
}

void FileSender::didReceiveDone(const Frame& frame) {
  finish(frame.id, std::nullopt);
}

void FileSender::didReceiveError(const Frame& frame) {
  const std::optional<PlistDictionary> body = readBody(frame.body);
  finish(frame.id, errorCodeFrom(body ? static_cast<long long>(numberIn(*body, "code")) : 0));
}

void FileSender::connectionDidClose() {
  phase_ = Phase::idle;
  file_.close();
  cancelled_.clear();
}

void FileSender::finish(std::uint64_t number, std::optional<ErrorCode> code) {
  const std::optional<Row> row = store_.firstFrom(Queue::files, number);
  if (row && row->number == number) finish(*row, code);
}

void FileSender::finish(const Row& row, std::optional<ErrorCode> code) {
  if (phase_ != Phase::idle && row.number == number_) {
    phase_ = Phase::idle;
    file_.close();
  }
  std::error_code ignored;  // the copy is swept away with the spool folder at the latest
  std::filesystem::remove(pathIn(readBody(row.body).value_or(PlistDictionary{})), ignored);
  store_.remove(Queue::files, row.number);
  delivery_.tell([number = row.number, code](SessionDelegate& delegate) {
    delegate.sessionDidFinishFileTransfer(number, code ? std::optional(makeError(*code)) : std::nullopt);
  });
}

}  // namespace tunevale::link
