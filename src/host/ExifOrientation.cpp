#include "host/ExifOrientation.h"

#include <cstring>
#include <string_view>

namespace tunevale::host {

namespace {

// The numbers of a TIFF file, in the byte order that its first bytes tell.
class TiffReader {
 public:
  TiffReader(ByteView data, bool bigEndian) : data_(data), bigEndian_(bigEndian) {}

  // An unsigned number of `size` bytes; nothing where there are none.
  std::optional<std::uint32_t> number(std::size_t at, std::size_t size) const {
    if (at > data_.size() || data_.size() - at < size) return {};
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
      value = value << 8 | std::to_integer<std::uint32_t>(data_[at + (bigEndian_ ? i : size - 1 - i)]);
    }
    return value;
  }

 private:
  ByteView data_;
  bool bigEndian_;
};

constexpr std::uint32_t kOrientationTag = 0x0112;
constexpr std::uint32_t kShort = 3;
constexpr std::size_t kEntryBytes = 12;  // tag, type, count, value

}  // namespace

std::optional<int> exifOrientation(ByteView app1) {
  constexpr std::string_view kExif("Exif\0\0", 6);
  if (asText(app1).substr(0, kExif.size()) != kExif) return {};
  const ByteView tiff = app1.subspan(kExif.size());
  const std::string_view order = asText(tiff).substr(0, 2);
  if (order != "MM" && order != "II") return {};
  const TiffReader reader(tiff, order == "MM");
  const auto directory = reader.number(4, 4);
  if (reader.number(2, 2) != 42U || !directory) return {};
  const std::uint32_t count = reader.number(*directory, 2).value_or(0);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = *directory + 2 + i * kEntryBytes;
    const auto tag = reader.number(entry, 2);
    if (!tag) return {};
    if (tag != kOrientationTag) continue;
    const auto value = reader.number(entry + 8, 2);
    if (reader.number(entry + 2, 2) != kShort || !value || *value < 1 || *value > 8) return {};
    return static_cast<int>(*value);
  }
  return {};
}

Pixels oriented(Pixels pixels, int orientation) {
  if (orientation < 2 || orientation > 8) return pixels;
  const bool transposed = orientation >= 5;
  const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool fromBelow = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  const std::size_t width = pixels.width, height = pixels.height;
  Pixels out{pixels.width, pixels.height, std::vector<std::uint8_t>(pixels.bytes.size())};
  if (transposed) std::swap(out.width, out.height);
  std::uint8_t* to = out.bytes.data();
  for (std::size_t y = 0; y < out.height; ++y) {
    for (std::size_t x = 0; x < out.width; ++x, to += 4) {
      const std::size_t column = transposed ? y : x, row = transposed ? x : y;
      const std::size_t from =
          (fromBelow ? height - 1 - row : row) * width + (fromRight ? width - 1 - column : column);
      std::memcpy(to, pixels.bytes.data() + from * 4, 4);
    }
  }
  return out;
}

}  // namespace tunevale::host
