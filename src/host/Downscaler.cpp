#include "host/Downscaler.h"

#include <algorithm>
#include <array>

#include "host/ImageLimits.h"

namespace tunevale::host {

namespace {

std::uint32_t scaledSide(std::uint32_t side, std::uint32_t longest, std::uint32_t mostSide) {
  return std::max<std::uint32_t>(1, (side * mostSide + longest / 2) / longest);
}

}  // namespace

PixelSize fitted(PixelSize size, std::uint32_t mostSide) {
  const std::uint32_t longest = std::max(size.width, size.height);
  if (longest <= mostSide) return size;
  return {scaledSide(size.width, longest, mostSide), scaledSide(size.height, longest, mostSide)};
}

Downscaler::Downscaler(PixelSize from, PixelSize to)
    : from_(from), result_{to.width, to.height, {}}, missing_(from.height) {
  result_.bytes.resize(std::size_t{to.width} * to.height * 4);
  if (from == to) return;
  row_.resize(std::size_t{from.width} * 4);
  columnSums_.resize(row_.size());
}

std::uint8_t* Downscaler::row() {
  return row_.empty() ? result_.bytes.data() + written_ : row_.data();
}

// Lengths are whole numbers in which a side of the picture is from * to long: one of its pixels takes `to`
// parts of it, one of the result's `from`. So nothing is rounded but the final quotients.
void Downscaler::takeRow() {
  if (row_.empty()) {
    written_ += std::size_t{from_.width} * 4;
    return;
  }
  for (std::uint32_t left = result_.height; left > 0;) {
    const std::uint32_t part = std::min(left, missing_);
    addRow(part);
    left -= part;
    missing_ -= part;
    if (missing_ == 0) finishRow();
  }
}

static_assert(std::uint64_t{kMostImageSide} * 255 * 255 <= UINT32_MAX, "a column's sum fits");

void Downscaler::addRow(std::uint32_t weight) {
  for (std::size_t i = 0; i < row_.size(); i += 4) {
    const std::uint32_t alpha = weight * row_[i + 3];
    columnSums_[i] += alpha * row_[i];
    columnSums_[i + 1] += alpha * row_[i + 1];
    columnSums_[i + 2] += alpha * row_[i + 2];
    columnSums_[i + 3] += alpha;
  }
}

void Downscaler::finishRow() {
  const std::uint64_t area = std::uint64_t{from_.width} * from_.height;
  std::array<std::uint64_t, 4> sums{};
  std::uint32_t missing = from_.width;
  for (std::size_t i = 0; i < columnSums_.size(); i += 4) {
    for (std::uint32_t left = result_.width; left > 0;) {
      const std::uint32_t part = std::min(left, missing);
      for (std::size_t k = 0; k < 4; ++k) sums[k] += std::uint64_t{columnSums_[i + k]} * part;
      left -= part;
      missing -= part;
      if (missing > 0) continue;
      const std::uint64_t alpha = sums[3];
      std::uint8_t* pixel = result_.bytes.data() + written_;
      for (std::size_t k = 0; k < 3 && alpha > 0; ++k) {
        pixel[k] = static_cast<std::uint8_t>((sums[k] + alpha / 2) / alpha);
      }
      pixel[3] = static_cast<std::uint8_t>((alpha + area / 2) / area);
      written_ += 4;
      sums = {};
      missing = from_.width;
    }
  }
  std::fill(columnSums_.begin(), columnSums_.end(), 0);
  missing_ = from_.height;
}

}  // namespace tunevale::host
