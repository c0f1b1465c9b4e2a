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
  std::vector<std::uint8_t> samples;
  for (std::size_t i = 0; i < image->pixels.size(); ++i) {
    if (i % 4 != 3) samples.push_back(image->pixels[i]);
  }
  return encodeJpeg(width, height, 3, std::move(samples), [&](jpeg_compress_struct& encoder) {
    jpeg_set_quality(&encoder, quality, TRUE);
    if (progressive) jpeg_simple_progression(&encoder);
  });
}

Bytes encodeJpeg(std::uint32_t width, std::uint32_t height, int components, std::vector<std::uint8_t> samples,
                 const std::function<void(jpeg_compress_struct&)>& configure) {
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors{};  // the default one ends the program, which is right for a test's own mistake
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &data, &size);
  encoder.image_width = width;
  encoder.image_height = height;
  encoder.input_components = components;
  encoder.in_color_space = components == 1 ? JCS_GRAYSCALE : components == 3 ? JCS_RGB : JCS_CMYK;
  jpeg_set_defaults(&encoder);
  configure(encoder);
  jpeg_start_compress(&encoder, TRUE);
  while (encoder.next_scanline < height) {
    JSAMPROW row =
        samples.data() + std::size_t{encoder.next_scanline} * width * static_cast<unsigned>(components);
    jpeg_write_scanlines(&encoder, &row, 1);
  }
  jpeg_finish_compress(&encoder);
  const auto* begin = reinterpret_cast<const std::byte*>(data);
  Bytes bytes(begin, begin + size);
  jpeg_destroy_compress(&encoder);
  std::free(data);
  return bytes;
}

}  // namespace tunevale::test
