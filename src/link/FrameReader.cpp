#include "link/FrameReader.h"

namespace tunevale::link {
namespace {

std::uint64_t bigEndian(ByteView bytes) {
  std::uint64_t value = 0;
  for (const std::byte byte : bytes) value = (value << 8) | std::to_integer<std::uint64_t>(byte);
  return value;
}

}  // namespace

void FrameReader::append(ByteView bytes) {
  if (start_ == buffer_.size()) {
    buffer_.clear();
    start_ = 0;
  } else if (start_ > buffer_.size() / 2) {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_));
    start_ = 0;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

std::optional<Frame> FrameReader::next() {
  const ByteView waiting = ByteView(buffer_).subspan(start_);
  if (broken_ != nullptr || waiting.size() < kFrameHeaderSize) return std::nullopt;
  const std::uint64_t length = bigEndian(waiting.first(4));
  if (length > mostBody_) {
    broken_ = "a frame is too large";
    return std::nullopt;
  }
  if (bigEndian(waiting.subspan(6, 2)) != 0) {
    broken_ = "a frame's header is malformed";
    return std::nullopt;
  }
  if (waiting.size() - kFrameHeaderSize < length) return std::nullopt;
  start_ += kFrameHeaderSize + length;
  return Frame{static_cast<FrameType>(waiting[4]), std::to_integer<std::uint8_t>(waiting[5]),
               bigEndian(waiting.subspan(8, 8)), waiting.subspan(kFrameHeaderSize, length)};
}

}  // namespace tunevale::link
