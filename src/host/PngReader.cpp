#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include <spng.h>

#include "host/ImageFormats.h"
#include "host/ImageLimits.h"

namespace tunevale::host {

namespace {

constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n";
constexpr std::size_t kChunkFrame = 12;  // length, type, checksum

std::size_t lengthOf(ByteView chunk) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < 4; ++i) length = length << 8 | std::to_integer<std::size_t>(chunk[i]);
  return length;
}

// The picture without what is not needed to draw it. Texts and profiles may unpack to a thousand times their
// size, and libspng unpacks whatever it is given. Nothing when a chunk is cut short or the end is missing.
std::optional<Bytes> withoutExtras(ByteView file) {
  Bytes out;
  out.reserve(file.size());
  out.insert(out.end(), file.begin(), file.begin() + kSignature.size());
  for (std::size_t at = kSignature.size(); file.size() - at >= kChunkFrame;) {
    const ByteView rest = file.subspan(at);
    const std::size_t length = lengthOf(rest);
    if (length > rest.size() - kChunkFrame) return {};
    const ByteView chunk = rest.first(kChunkFrame + length);
    const std::string_view type = asText(chunk.subspan(4, 4));
    const bool critical = (type[0] & 0x20) == 0;  // libspng refuses those that it does not know
    if (critical || type == "tRNS") out.insert(out.end(), chunk.begin(), chunk.end());
    if (type == "IEND") return out;
    at += chunk.size();
  }
  return {};
}

struct ContextCloser {
  void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};
using Context = std::unique_ptr<spng_ctx, ContextCloser>;

bool decodeRow(spng_ctx* context, std::uint8_t* row, std::size_t size) {
  const int error = spng_decode_row(context, row, size);
  return error == 0 || error == SPNG_EOI;  // the last row, and none is asked for after it
}

bool readRows(spng_ctx* context, const spng_ihdr& header, Downscaler& scaler) {
  const std::size_t size = std::size_t{header.width} * 4;
  for (std::uint32_t y = 0; y < header.height; ++y) {
    if (!decodeRow(context, scaler.row(), size)) return false;
    scaler.takeRow();
  }
  return true;
}

// Each pass adds pixels to rows all over the picture, so that it is needed whole.
bool readInterlaced(spng_ctx* context, const spng_ihdr& header, Downscaler& scaler) {
  const std::size_t size = std::size_t{header.width} * 4;
  std::vector<std::uint8_t> whole(size * header.height);
  for (int error = 0; error != SPNG_EOI;) {
    spng_row_info info{};
    if (spng_get_row_info(context, &info) != 0) return false;
    error = spng_decode_row(context, whole.data() + info.row_num * size, size);
    if (error != 0 && error != SPNG_EOI) return false;
  }
  for (std::size_t y = 0; y < header.height; ++y) {
    std::copy_n(whole.data() + y * size, size, scaler.row());
    scaler.takeRow();
  }
  return true;
}

}  // namespace

bool looksLikePng(ByteView data) {
  return asText(data).substr(0, kSignature.size()) == kSignature;
}

std::optional<Pixels> readPng(ByteView data, std::uint32_t mostSide) {
  const auto needed = withoutExtras(data);
  const Context context(spng_ctx_new(0));
  spng_ihdr header{};
  if (!needed || !context || spng_set_image_limits(context.get(), kMostImageSide, kMostImageSide) != 0 ||
      spng_set_png_buffer(context.get(), needed->data(), needed->size()) != 0 ||
      spng_get_ihdr(context.get(), &header) != 0 ||
      spng_decode_image(context.get(), nullptr, 0, SPNG_FMT_RGBA8,
                        SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE) != 0) {
    return {};
  }
  const PixelSize size{header.width, header.height};
  Downscaler scaler(size, fitted(size, mostSide));
  const bool interlaced = header.interlace_method != SPNG_INTERLACE_NONE;
  const bool read =
      interlaced ? readInterlaced(context.get(), header, scaler) : readRows(context.get(), header, scaler);
  // The checksum of the last pixels comes after them.
  if (!read || spng_decode_chunks(context.get()) != 0) return {};
  return scaler.result();
}

}  // namespace tunevale::host
