#pragma once

#include "platform/ImageCodec.h"

namespace tunevale::host {

/// PNG and JPEG by libpng and libjpeg-turbo, within the limits of ImageLimits.h.
class ImageCodecs : public ImageCodec {
 public:
  ImagePtr imageWithData(ByteView data) override;
  /// Favours speed over size. Nothing for an image whose numbers disagree, that is past the limits, or whose
  /// file would be: photos fit up to some 1,500 pixels a side.
  std::optional<Bytes> pngRepresentation(const Image& image) override;
};

/// An image of pixels from elsewhere (width * height * 4 bytes), with its digest. Null when the numbers
/// disagree. Any thread.
ImagePtr imageWithPixels(std::uint32_t width, std::uint32_t height, std::vector<std::uint8_t> pixels);

}  // namespace tunevale::host
