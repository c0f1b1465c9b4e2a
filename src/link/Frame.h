#pragma once

#include <cstdint>
#include <string>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// The kinds of frames; docs/phone-link.md tells what each carries.
enum class FrameType : std::uint8_t {
  hello = 0x01,
  helloAck = 0x02,
  state = 0x03,
  ping = 0x04,
  pong = 0x05,
  bye = 0x06,
  unpair = 0x07,
  message = 0x10,
  reply = 0x11,
  messageError = 0x12,
  resume = 0x20,
  item = 0x21,
  ack = 0x22,
  nak = 0x23,
  gap = 0x24,
  context = 0x30,
  contextAck = 0x31,
  fileBegin = 0x40,
  fileData = 0x41,
  fileHave = 0x42,
  fileDone = 0x43,
  fileError = 0x44,
  fileCancel = 0x45,
  pairCommit = 0x50,  // these only on connections for pairing
  pairNonce = 0x51,
  pairReveal = 0x52,
  pairProof = 0x53,
  pairToken = 0x54,
  pairDone = 0x55,
  pairFail = 0x56,
};

/// Set on a frame that a receiver must understand: one that does not closes the connection. Without it, an
/// unknown frame is skipped.
inline constexpr std::uint8_t kCriticalFrame = 0x01;

/// u32 body length, u8 type, u8 flags, u16 zero, u64 id; big-endian.
inline constexpr std::size_t kFrameHeaderSize = 16;

/// Why the connection cannot go on after a frame, for a log; null when it can.
using Objection = const char*;
inline constexpr Objection kCannotKeep = "it cannot be kept";
inline constexpr Objection kBeforeGap = "no GAP has come before it";

/// One frame; the body belongs to whoever lent it.
struct Frame {
  FrameType type{};
  std::uint8_t flags = 0;
  std::uint64_t id = 0;
  ByteView body;
};

/// What a frame is, in words: "FILE_DATA 7".
std::string nameOf(const Frame& frame);

/// Appends a frame's bytes.
void appendFrame(Bytes& out, const Frame& frame);

}  // namespace tunevale::link
