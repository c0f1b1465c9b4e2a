#pragma once

#include <optional>

#include "link/Frame.h"

namespace tunevale::link {

/// Cuts a stream of bytes, in pieces of any size, into frames. Memory grows with the bytes that came, never
/// with a length that was only announced.
class FrameReader {
 public:
  explicit FrameReader(std::size_t mostBody) : mostBody_(mostBody) {}
  void setMostBody(std::size_t bytes) { mostBody_ = bytes; }

  void append(ByteView bytes);
  /// Bytes that next() has not given yet.
  std::size_t waiting() const { return buffer_.size() - start_; }
  /// The next whole frame; nothing when more bytes are needed or the stream is broken. Its body is valid
  /// until the next call of either.
  std::optional<Frame> next();
  /// Why the stream is no sequence of frames, for good; null while it is one.
  const char* broken() const { return broken_; }

 private:
  std::size_t mostBody_;
  Bytes buffer_;
  std::size_t start_ = 0;
  const char* broken_ = nullptr;
};

}  // namespace tunevale::link
