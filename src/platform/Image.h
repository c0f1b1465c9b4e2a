#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tunevale {

/// A picture: its pixels, or the file that holds it until somebody draws it (ImageCodec::pngRepresentation).
/// Immutable once shared, so any thread may read it.
struct Image {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  /// Rows from the top, four bytes a pixel (red, green, blue, alpha; not premultiplied). Empty for a file.
  std::vector<std::uint8_t> pixels;
  /// Of size and pixels, or of the file's path and state, set by whoever made the picture: equal digests are
  /// equal pictures.
  std::uint64_t digest = 0;
  std::string path = {};  // empty for pixels

  /// What it holds in memory, roughly.
  std::size_t byteCount() const { return sizeof(Image) + pixels.size() + path.size(); }
};

/// Null means no image.
using ImagePtr = std::shared_ptr<const Image>;

}  // namespace tunevale
