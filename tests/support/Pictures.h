#pragma once

#include <cstdint>

#include "foundation/Bytes.h"
#include "platform/Image.h"

namespace tunevale::test {

/// A picture with its digest: smooth colours that differ with the seed, one corner transparent unless opaque.
/// Sides of 1 to 2048.
ImagePtr picture(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 0, bool opaque = true);

/// picture() as a real file.
Bytes pngPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 0, bool opaque = true);
Bytes jpegPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 0, int quality = 90,
                  bool progressive = false);

}  // namespace tunevale::test
