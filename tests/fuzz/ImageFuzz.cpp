#include <algorithm>
#include <cstdlib>
#include <span>

#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"

using namespace tunevale;
using namespace tunevale::host;

// Whatever decodes keeps to the limits, and comes back the same from the PNG that we write of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ImageCodecs codecs;
  const ImagePtr image = codecs.imageWithData(std::as_bytes(std::span(data, size)));
  const ImagePtr small = decodeImage(std::as_bytes(std::span(data, size)), 5);
  if (!image != !small) std::abort();
  if (!image) return 0;
  if (small->width > 5 || small->height > 5) std::abort();
  if (std::max(image->width, image->height) > kShownSide ||
      image->pixels.size() != std::size_t{image->width} * image->height * 4) {
    std::abort();
  }
  const auto png = codecs.pngRepresentation(*image);
  const ImagePtr again = png ? codecs.imageWithData(*png) : nullptr;
  if (!png) return 0;  // of noise, and past the limits
  if (!again || again->pixels != image->pixels || again->digest != image->digest) std::abort();
  return 0;
}
