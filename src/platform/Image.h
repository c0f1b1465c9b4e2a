#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace tunevale {

/// A decoded picture: rows from the top, four bytes a pixel (red, green, blue, alpha; not premultiplied).
/// Immutable once shared, so any thread may read it.
struct Image {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> pixels;  // width * height * 4 bytes
  /// A digest of size and pixels, set by whoever decoded it: equal pictures have equal digests.
  std::uint64_t digest = 0;

  std::size_t byteCount() const { return pixels.size(); }
};

/// Null means no image.
using ImagePtr = std::shared_ptr<const Image>;

}  // namespace tunevale
