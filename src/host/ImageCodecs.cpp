#include "host/ImageCodecs.h"

#include <algorithm>
#include <cstring>

#include "host/ImageFormats.h"
#include "host/ImageLimits.h"

namespace tunevale::host {

namespace {

// Spreads 64 bits over 64 (the finaliser constants of MurmurHash3).
std::uint64_t mixed(std::uint64_t h) {
  h ^= h >> 33;
  h *= 0xFF51AFD7ED558CCDU;
  h ^= h >> 33;
  h *= 0xC4CEB9FE1A85EC53U;
  return h ^ (h >> 33);
}

// Two pixels at a time: it runs over every picture that arrives. It tells pictures apart, it proves nothing.
std::uint64_t digestOf(std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& pixels) {
  std::uint64_t digest = mixed((std::uint64_t{width} << 32) | height);
  for (std::size_t i = 0; i < pixels.size(); i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, pixels.data() + i, std::min<std::size_t>(8, pixels.size() - i));
    digest = mixed(digest ^ word) + i;
  }
  return digest;
}

bool isConsistent(std::uint32_t width, std::uint32_t height, std::size_t byteCount) {
  return width > 0 && height > 0 && width <= kMostImageSide && height <= kMostImageSide &&
         byteCount == std::size_t{width} * height * 4;
}

}  // namespace

ImagePtr imageWithPixels(std::uint32_t width, std::uint32_t height, std::vector<std::uint8_t> pixels) {
  if (!isConsistent(width, height, pixels.size())) return nullptr;
  const std::uint64_t digest = digestOf(width, height, pixels);
  return std::make_shared<const Image>(Image{width, height, std::move(pixels), digest});
}

ImagePtr decodeImage(ByteView data, std::uint32_t mostSide) {
  if (data.size() > kMostImageBytes) return nullptr;
  std::optional<Pixels> pixels;
  if (looksLikePng(data)) {
    pixels = readPng(data, mostSide);
  } else if (looksLikeJpeg(data)) {
    pixels = readJpeg(data, mostSide);
  }
  if (!pixels) return nullptr;
  return imageWithPixels(pixels->width, pixels->height, std::move(pixels->bytes));
}

ImagePtr ImageCodecs::imageWithData(ByteView data) {
  return decodeImage(data, kShownSide);
}

ImagePtr ImageCodecs::imageWithContentsOfFile(const std::string& path) {
  return files_.imageAt(path);
}

std::optional<Bytes> ImageCodecs::pngRepresentation(const Image& image) {
  if (!image.path.empty()) {
    auto contents = ImageFiles::contentsOf(image);
    const ImagePtr decoded = contents ? imageWithData(*contents) : nullptr;
    if (!decoded) return {};
    // A PNG that is not larger than pictures are drawn is sent as it is.
    const bool asItIs = decoded->width == image.width && decoded->height == image.height;
    return asItIs && looksLikePng(*contents) ? std::move(contents) : pngRepresentation(*decoded);
  }
  if (!isConsistent(image.width, image.height, image.pixels.size())) return {};
  return writePng(image.width, image.height, image.pixels.data());
}

}  // namespace tunevale::host
