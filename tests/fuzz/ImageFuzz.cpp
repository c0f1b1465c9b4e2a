#include <cstdlib>
#include <span>

#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"

// Whatever decodes keeps to the limits, and comes back the same from the PNG that we write of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tunevale::host::ImageCodecs codecs;
  const tunevale::ImagePtr image = codecs.imageWithData(std::as_bytes(std::span(data, size)));
  if (!image) return 0;
  if (image->width > tunevale::host::kMostImageSide || image->height > tunevale::host::kMostImageSide ||
      image->pixels.size() != std::size_t{image->width} * image->height * 4) {
    std::abort();
  }
  const auto png = codecs.pngRepresentation(*image);
  const tunevale::ImagePtr again = png ? codecs.imageWithData(*png) : nullptr;
  if (!png) return 0;  // of noise, and past the limits
  if (!again || again->pixels != image->pixels || again->digest != image->digest) std::abort();
  return 0;
}
