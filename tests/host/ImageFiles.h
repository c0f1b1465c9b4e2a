#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "platform/Image.h"

struct jpeg_compress_struct;

namespace tunevale::test {

/// A PNG of any kind that the format knows, written by libpng.
struct PngKind {
  int colorType;
  int bitDepth;
  bool interlaced = false;
  std::vector<std::uint8_t> palette{};       // three bytes a colour
  std::vector<std::uint8_t> transparency{};  // alpha by palette index
};
Bytes makePng(const PngKind& kind, std::uint32_t width, const std::vector<std::vector<std::uint8_t>>& rows);

/// A PNG put together by hand: the signature and these chunks, each with its right checksum.
struct PngChunk {
  std::string_view type;
  Bytes data;
};
Bytes assemblePng(const std::vector<PngChunk>& chunks);
Bytes pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, std::uint8_t colorType);
Bytes deflated(const Bytes& data);

/// A JPEG of `components` samples a pixel, with whatever else `configure` sets.
Bytes makeJpeg(std::uint32_t width, std::uint32_t height, int components,
               const std::vector<std::uint8_t>& samples,
               const std::function<void(jpeg_compress_struct&)>& configure = {});
/// A grey progressive JPEG of exactly so many scans, 1 to 127.
Bytes greyJpegOfScans(int scans);

}  // namespace tunevale::test
