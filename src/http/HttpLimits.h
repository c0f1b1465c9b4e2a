#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace tunevale::http {

/// What a client may ask of the server. The pages are our own and small; everything past these is a mistake
/// or an attack.
inline constexpr std::uint32_t kMaxHeaderBytes =
    16 * 1024;                                           // browsers with many localhost cookies send 8 KiB
inline constexpr std::size_t kMaxBodyBytes = 64 * 1024;  // the longest request body or WebSocket message
inline constexpr std::size_t kMaxConnections = 64;       // ten browser windows hold about seven each
inline constexpr std::size_t kMaxFileBytes = 4 * 1024 * 1024;  // the largest file of a page

/// How long a connection may take to bring its next request, or to take its answer. One timer each.
inline constexpr std::chrono::seconds kRequestTime{30};
/// How long a refused client may go on sending before the connection is cut: long enough to read the answer.
inline constexpr std::chrono::seconds kLingerTime{2};
/// A WebSocket that is silent for half of this is pinged, and closed when that brings no answer either.
inline constexpr std::chrono::seconds kSilenceTime{60};

/// What may wait for a WebSocket client that reads slowly. Past either, it gets the greeting anew instead.
inline constexpr std::size_t kMaxQueuedTexts = 64;
inline constexpr std::size_t kMaxQueuedBytes = 512 * 1024;

}  // namespace tunevale::http
