#pragma once

#include <cstddef>
#include <cstdint>

namespace tunevale::host {

/// Encoded bytes of one picture. Artwork takes 10 to 200 KiB; the largest side at best quality stays below.
inline constexpr std::size_t kMostImageBytes = std::size_t{4} << 20;

/// Pixels on a side, and with it 4 Mpixel or 16 MiB decoded: ten times a watch face each way.
inline constexpr std::uint32_t kMostImageSide = 2048;

/// Scans of a JPEG. Encoders make about 10; each costs a walk over the whole picture for a few input bytes.
inline constexpr int kMostJpegScans = 64;

/// What the JPEG library may allocate: the coefficients of the largest progressive picture take 25 MiB.
inline constexpr long kMostJpegWorkspace = 40L << 20;

/// Unpacked size of one chunk of a PNG, and how many chunks it may keep. Colours and transparency need less
/// than 1 KiB; everything else is skipped unread.
inline constexpr std::size_t kMostPngChunkBytes = std::size_t{64} << 10;
inline constexpr std::uint32_t kMostPngChunks = 16;

}  // namespace tunevale::host
