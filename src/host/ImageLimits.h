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

/// What the process keeps of pictures, 22 MiB together whatever the phone sends. Besides it there are what is
/// on the screen with its pixels, which is the artwork of what plays, and the one picture that is being
/// decoded or encoded on each of two queues. Two image caches, the stations' and the files' that were looked
/// at lately: such a picture, its pixels left in its file, takes some 600 bytes, so each has room for twice
/// as many as a picker shows.
inline constexpr std::size_t kImageCacheBytes = std::size_t{3} << 20;
/// Pictures that no longer are on the screen, because a display may still ask for them.
inline constexpr std::size_t kLatePictureBytes = std::size_t{8} << 20;
/// PNG files of what displays asked for.
inline constexpr std::size_t kPngCacheBytes = std::size_t{8} << 20;

}  // namespace tunevale::host
