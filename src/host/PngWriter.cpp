#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include "host/ImageFormats.h"
#include "host/ImageLimits.h"

namespace tunevale::host {

namespace {

// The lowest level that compresses with codes of the picture's own. The next one takes a fifth longer for 1
// %.
constexpr std::uint32_t kLevel = 1;

enum Filter : std::uint8_t { subtractLeft = 1, subtractAbove = 2 };  // as PNG counts them

// Samples a pixel and how PNG calls it.
struct PixelKind {
  std::size_t samples;
  int colorType;
};

// The fewest samples that lose nothing.
PixelKind kindOf(const std::uint8_t* pixels, std::size_t count) {
  std::uint8_t alpha = 0xFF;
  for (std::size_t i = 0; i < count; ++i) alpha &= pixels[i * 4 + 3];
  if (alpha != 0xFF) return {4, 6};
  for (const std::uint8_t* pixel = pixels; pixel != pixels + count * 4; pixel += 4) {
    if (pixel[0] != pixel[1] || pixel[1] != pixel[2]) return {3, 2};
  }
  return {1, 0};
}

void takeSamples(const std::uint8_t* pixels, std::size_t count, std::size_t samples, std::uint8_t* out) {
  if (samples == 4) {
    std::copy_n(pixels, count * 4, out);
  } else if (samples == 3) {
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t k = 0; k < 3; ++k) out[i * 3 + k] = pixels[i * 4 + k];
    }
  } else {
    for (std::size_t i = 0; i < count; ++i) out[i] = pixels[i * 4];
  }
}

// Writes row minus other, and tells how far from 0 it is. The compiler makes vector instructions of it.
unsigned subtract(const std::uint8_t* row, const std::uint8_t* other, std::size_t size, std::uint8_t* out) {
  unsigned far = 0;
  for (std::size_t i = 0; i < size; ++i) {
    out[i] = static_cast<std::uint8_t>(row[i] - other[i]);
    far += static_cast<unsigned>(std::abs(int{static_cast<std::int8_t>(out[i])}));
  }
  return far;
}

// The picture's rows, each filtered by what leaves the smaller differences. "Average" and "Paeth" are not
// tried: on what was a JPEG, as most artwork, they promise smaller files by that measure and give larger
// ones.
std::vector<std::uint8_t> filteredRows(std::uint32_t width, std::uint32_t height, const std::uint8_t* pixels,
                                       std::size_t samples) {
  const std::size_t size = width * samples;
  // Each row has a pixel of nothing to its left, and the first a row of nothing above.
  std::vector<std::uint8_t> row(samples + size), above(samples + size), left(1 + size, subtractLeft);
  std::vector<std::uint8_t> out((1 + size) * height);
  for (std::size_t y = 0; y < height; ++y) {
    std::swap(row, above);
    takeSamples(pixels + y * width * 4, width, samples, row.data() + samples);
    std::uint8_t* to = out.data() + y * (1 + size);
    *to = subtractAbove;
    const unsigned farAbove = subtract(row.data() + samples, above.data() + samples, size, to + 1);
    const unsigned farLeft = subtract(row.data() + samples, row.data(), size, left.data() + 1);
    if (farLeft < farAbove) std::copy(left.begin(), left.end(), to);
  }
  return out;
}

void appendNumber(Bytes& out, std::size_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::byte>(number >> shift));
}

void appendChunk(Bytes& out, std::string_view type, ByteView data) {
  appendNumber(out, data.size());
  const std::size_t begin = out.size();
  out.insert(out.end(), asBytes(type).begin(), asBytes(type).end());
  out.insert(out.end(), data.begin(), data.end());
  const auto* checked = reinterpret_cast<const unsigned char*>(out.data() + begin);
  appendNumber(out, crc32_gzip_refl(0, checked, out.size() - begin));
}

}  // namespace

std::optional<Bytes> writePng(std::uint32_t width, std::uint32_t height, const std::uint8_t* pixels) {
  const PixelKind kind = kindOf(pixels, std::size_t{width} * height);
  std::vector<std::uint8_t> rows = filteredRows(width, height, pixels, kind.samples);
  const auto workspace = std::make_unique_for_overwrite<std::uint8_t[]>(ISAL_DEF_LVL1_DEFAULT);
  const auto packed = std::make_unique_for_overwrite<std::byte[]>(kMostImageBytes);
  isal_zstream stream;
  isal_deflate_init(&stream);
  stream.level = kLevel;
  stream.level_buf = workspace.get();
  stream.level_buf_size = ISAL_DEF_LVL1_DEFAULT;
  stream.gzip_flag = IGZIP_ZLIB;
  stream.end_of_stream = 1;
  stream.next_in = rows.data();
  stream.avail_in = static_cast<std::uint32_t>(rows.size());
  stream.next_out = reinterpret_cast<std::uint8_t*>(packed.get());
  stream.avail_out = kMostImageBytes;
  if (isal_deflate(&stream) != COMP_OK || stream.internal_state.state != ZSTATE_END) return {};

  const ByteView signature = asBytes("\x89PNG\r\n\x1A\n");
  Bytes out(signature.begin(), signature.end()), header;
  out.reserve(stream.total_out + 64);
  appendNumber(header, width);
  appendNumber(header, height);
  // 8 bits a sample; deflate, the five filters, not interlaced.
  for (const int byte : {8, kind.colorType, 0, 0, 0}) header.push_back(static_cast<std::byte>(byte));
  appendChunk(out, "IHDR", header);
  appendChunk(out, "IDAT", ByteView(packed.get(), stream.total_out));
  appendChunk(out, "IEND", {});
  if (out.size() > kMostImageBytes) return {};
  return out;
}

}  // namespace tunevale::host
