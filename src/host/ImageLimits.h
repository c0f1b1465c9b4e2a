#pragma once

#include <cstddef>
#include <cstdint>

namespace tunevale::host {

/// Encoded bytes of one picture. Artwork takes 10 to 200 KiB; the largest side at best quality stays below.
inline constexpr std::size_t kMostImageBytes = std::size_t{4} << 20;

/// Pixels on a side, and with it 4 Mpixel or 16 MiB decoded: ten times a watch face each way.
inline constexpr std::uint32_t kMostImageSide = 2048;

/// Pixels on the longer side of a picture as the watch keeps it: the face is 198 by 242 points, drawn at up
/// to about twice that.
inline constexpr std::uint32_t kShownSide = 512;

/// Scans of a JPEG. Encoders make about 10; each costs a walk over the whole picture for a few input bytes.
inline constexpr int kMostJpegScans = 64;

/// What the JPEG library may allocate: the coefficients of the largest progressive picture take 25 MiB.
inline constexpr long kMostJpegWorkspace = 40L << 20;

}  // namespace tunevale::host
