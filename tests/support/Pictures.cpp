#include "support/Pictures.h"

#include <cstdio>  // jpeglib.h needs FILE
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

#include "host/ImageCodecs.h"

namespace tunevale::test {

ImagePtr picture(std::uint32_t width, std::uint32_t height, std::uint32_t seed, bool opaque) {
  std::vector<std::uint8_t> pixels;
  pixels.reserve(std::size_t{width} * height * 4);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      pixels.push_back(static_cast<std::uint8_t>(x * 255 / width));
      pixels.push_back(static_cast<std::uint8_t>(y * 255 / height));
      pixels.push_back(static_cast<std::uint8_t>(seed * 37));
      pixels.push_back(opaque || x >= width / 2 || y >= height / 2 ? 0xFF : static_cast<std::uint8_t>(x));
    }
  }
  return host::imageWithPixels(width, height, std::move(pixels));
}

Bytes pngPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed, bool opaque) {
  return host::ImageCodecs().pngRepresentation(*picture(width, height, seed, opaque)).value();
}

Bytes jpegPicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed, int quality,
                  bool progressive) {
  const ImagePtr image = picture(width, height, seed);
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors{};  // the default one ends the program, which is right for a test's own mistake
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &data, &size);
  encoder.image_width = width;
  encoder.image_height = height;
  encoder.input_components = 4;
  encoder.in_color_space = JCS_EXT_RGBX;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, quality, TRUE);
  if (progressive) jpeg_simple_progression(&encoder);
  jpeg_start_compress(&encoder, TRUE);
  while (encoder.next_scanline < height) {
    std::vector<std::uint8_t> row(
        image->pixels.begin() + std::ptrdiff_t{encoder.next_scanline} * width * 4,
        image->pixels.begin() + std::ptrdiff_t{encoder.next_scanline + 1} * width * 4);
    JSAMPROW rows = row.data();
    jpeg_write_scanlines(&encoder, &rows, 1);
  }
  jpeg_finish_compress(&encoder);
  const auto* begin = reinterpret_cast<const std::byte*>(data);
  Bytes bytes(begin, begin + size);
  jpeg_destroy_compress(&encoder);
  std::free(data);
  return bytes;
}

}  // namespace tunevale::test
