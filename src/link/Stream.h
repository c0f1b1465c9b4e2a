#pragma once

#include <string>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// What a stream tells whoever reads it; on the strand, never inside a call of the stream.
class StreamReceiver {
 public:
  virtual ~StreamReceiver() = default;
  virtual void streamDidRead(ByteView bytes) = 0;
  /// The bytes of the last write() are on their way; the next write may follow.
  virtual void streamDidWrite() = 0;
  /// The other side, or the way there, has gone. The last call.
  virtual void streamDidEnd(const std::string& reason) = 0;
};

/// An ordered two-way stream of bytes. Strand only.
class Stream {
 public:
  virtual ~Stream() = default;  // closes
  /// Begins to read. Once, before the rest.
  virtual void start(StreamReceiver& receiver) = 0;
  /// One write at a time; but a last one, before close(), may follow another that is not done.
  virtual void write(Bytes bytes) = 0;
  /// Whether to go on reading. What was read already may still arrive.
  virtual void setReading(bool reading) = 0;
  /// The receiver is called no more. What was written just before may still arrive at the other end.
  virtual void close() = 0;
};

}  // namespace tunevale::link
