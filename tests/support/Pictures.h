#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "foundation/Bytes.h"
#include "platform/Image.h"

struct jpeg_compress_struct;

namespace tunevale::test {

/// A picture with its digest: smooth colours that differ with the seed, one corner transparent unless opaque.
/// Sides of 1 to 2048.
ImagePtr picture(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 0, bool opaque = true);

/// picture() as a real file.
Bytes pngPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 0, bool opaque = true);
Bytes jpegPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 0, int quality = 90,
                  bool progressive = false);

/// A JPEG of rows of `components` samples a pixel (1: grey, 3: red, green, blue, 4: CMYK), with whatever else
/// `configure` sets.
Bytes encodeJpeg(std::uint32_t width, std::uint32_t height, int components, std::vector<std::uint8_t> samples,
                 const std::function<void(jpeg_compress_struct&)>& configure);

}  // namespace tunevale::test
