#pragma once

#include <chrono>
#include <cstddef>

namespace tunevale::link {

/// What one end takes from the other, and offers to it. All sizes in bytes: of data as they are, of
/// dictionaries as writePropertyList() writes them, without what stands around them in a frame.
inline constexpr std::size_t kMostMessageData = 1024 * 1024;  // an archived chart of 300 songs
/// What came goes back in a request to play it: as a dictionary a chart is smaller than its archive, also
/// with a key more in each song, and at most twice a user info.
inline constexpr std::size_t kMostMessage = kMostMessageData;
inline constexpr std::size_t kMostUserInfo =
    256 * 1024;  // queued in memory and on disk; a chart of 15 songs takes 40 KiB
inline constexpr std::size_t kMostContext = 1024 * 1024;    // holds an archived chart too
inline constexpr std::size_t kMostMetadata = 16 * 1024;     // a handful of names
inline constexpr std::size_t kMostFile = 16 * 1024 * 1024;  // artwork is below 1 MiB; a photo fits
inline constexpr std::size_t kFileChunk = 64 * 1024;        // a message waits behind at most one of these
/// What may stand around a payload in its frame, and with it the largest frame.
inline constexpr std::size_t kBodyKeys = 4096;
inline constexpr std::size_t kMostFrameBody = kMostMessageData + kBodyKeys;
/// Before the two ends have introduced themselves. An introduction takes about 200 bytes.
inline constexpr std::size_t kMostFrameBodyBeforeHello = 8 * 1024;
/// Connections that have not introduced themselves. One more closes the oldest of them.
inline constexpr std::size_t kMostStrangers = 10;

/// Connections in their TLS handshake, what each of them may send (an honest one needs less than 2 KiB), and
/// how long one keeps its place while others wait for it.
inline constexpr std::size_t kMostHandshakes = 10;
inline constexpr std::size_t kMostHandshakeBytes = 8 * 1024;
inline constexpr std::chrono::milliseconds kHandshakeGrace{20};
/// Attempts to pair that may fail before the window closes.
inline constexpr int kMostPairingFailures = 3;

/// Frames that one end takes: a full push of artwork, stations and chart is about 120. Past the burst,
/// reading slows to the sustained rate and the other end's writes wait.
inline constexpr double kSustainedFrameRate = 200;  // per second
inline constexpr double kFrameBurst = 400;

/// Payloads that were received and not yet handled. Past either, reading pauses until half is handled.
inline constexpr std::size_t kMostUndelivered = 64;
inline constexpr std::size_t kMostUndeliveredBytes = 4 * 1024 * 1024;
/// What is read ahead while reading pauses, so that the other end's pongs are heard meanwhile.
inline constexpr std::size_t kMostReadAhead = 64 * 1024;
/// Received files that wait for their handlers. Past it, the next file is not answered until there is room.
inline constexpr std::uint64_t kMostUndeliveredFileBytes = 16 * 1024 * 1024;

/// What is ready for an end that does not read: replies, past which this end stops reading too, and small
/// answers (pongs, acknowledgements), past which the connection is closed. An honest end never comes near.
inline constexpr std::size_t kMostUnreadReplyBytes = 4 * 1024 * 1024;
inline constexpr std::size_t kMostUnreadBytes = 64 * 1024;
inline constexpr std::size_t kMostUnreadAnswers = 4096;

/// What waits to be sent, per queue.
inline constexpr std::size_t kMostQueuedRows = 10'000;
inline constexpr std::size_t kMostQueuedBytes = 32 * 1024 * 1024;
inline constexpr std::uint64_t kMostQueuedFileBytes = 256 * 1024 * 1024;  // beside their rows
/// Received items that are kept in one step: what comes in one read, up to this many.
inline constexpr std::size_t kMostBatch = 32;
/// Refused items of which the other end may not know yet. One more closes the connection; the next tells it.
inline constexpr std::size_t kMostRefusals = 256;
/// How often an item is given to a handler that throws.
inline constexpr int kMostAttempts = 3;

/// How long things may take. A session gets its own copy, so that tests can change it.
struct Timing {
  std::chrono::milliseconds connect{3'000};
  std::chrono::milliseconds tls{5'000};
  std::chrono::milliseconds tlsShutdown{1'000};
  std::chrono::milliseconds hello{2'000};
  std::chrono::milliseconds silence{5'000};  // then a ping
  std::chrono::milliseconds dead{15'000};    // of silence
  std::chrono::milliseconds reply{10'000};
  std::chrono::milliseconds activation{0};           // waits so long for the other end
  std::chrono::milliseconds stateSpacing{250};       // between two reports of the state
  std::chrono::milliseconds firstReconnect{250};     // doubled with every failure
  std::chrono::milliseconds lastReconnect{2'000};    // on loopback, where nothing is saved by waiting longer
  std::chrono::milliseconds healthy{10'000};         // a connection this old forgets earlier failures
  std::chrono::milliseconds pairingWindow{120'000};  // also the longest wait for people to compare
  std::chrono::milliseconds pairingStep{5'000};      // for what a machine answers at once
  std::chrono::milliseconds pairingSpacing{10'000};  // between two attempts
};

}  // namespace tunevale::link
