#pragma once

#include "host/ImageFiles.h"
#include "platform/ImageCodec.h"

namespace tunevale::host {

/// PNG by libspng and ISA-L, JPEG by libjpeg-turbo, within the limits of ImageLimits.h.
class ImageCodecs : public ImageCodec {
 public:
  /// At the size at which a watch shows pictures: no side is longer than kShownSide.
  ImagePtr imageWithData(ByteView data) override;
  ImagePtr imageWithContentsOfFile(const std::string& path) override;
  /// Favours speed over size. Nothing for an image whose numbers disagree, that is past the limits, or whose
  /// file would be: photos fit up to some 1,500 pixels a side.
  std::optional<Bytes> pngRepresentation(const Image& image) override;

 private:
  ImageFiles files_;
};

/// The picture of a PNG or JPEG with no side longer than mostSide, made smaller on the way where it is larger
/// and never enlarged. Null for everything else, as in ImageCodec. Any thread.
ImagePtr decodeImage(ByteView data, std::uint32_t mostSide);

/// An image of pixels from elsewhere (width * height * 4 bytes), with its digest. Null when the numbers
/// disagree. Any thread.
ImagePtr imageWithPixels(std::uint32_t width, std::uint32_t height, std::vector<std::uint8_t> pixels);

}  // namespace tunevale::host
