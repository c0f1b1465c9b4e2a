#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace tunevale::host {

/// Rows from the top, red, green, blue, alpha; not premultiplied.
struct Pixels {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> bytes;
};

struct PixelSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  bool operator==(const PixelSize&) const = default;
};

/// The size at which the longer side is mostSide and the shape stays, or the size itself when it is smaller.
/// No side comes out as 0.
PixelSize fitted(PixelSize size, std::uint32_t mostSide);

/// Takes a picture row by row and makes it smaller on the way: each pixel of the result is the average of the
/// area that it covers, a colour counting as much as it is opaque. Keeps one row and the result.
class Downscaler {
 public:
  /// Sides of 1 to kMostImageSide; no side of `to` is longer than the one of `from`.
  Downscaler(PixelSize from, PixelSize to);

  /// Where the next row is to be written, from.width * 4 bytes. Valid until takeRow().
  std::uint8_t* row();
  /// Takes what was written to row(); to be called from.height times.
  void takeRow();
  /// After the last row.
  Pixels result() { return std::move(result_); }

 private:
  void addRow(std::uint32_t weight);
  void finishRow();

  PixelSize from_;
  Pixels result_;
  std::size_t written_ = 0;                // bytes of the result
  std::uint32_t missing_;                  // of the result's row, which needs from.height parts
  std::vector<std::uint8_t> row_;          // empty when nothing is to be scaled: then rows go into the result
  std::vector<std::uint32_t> columnSums_;  // colours times alpha, and alpha
};

}  // namespace tunevale::host
