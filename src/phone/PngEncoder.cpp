#include <new>
#include <stdexcept>

#include <png.h>

#include "phone/PictureEncoders.h"

namespace tunevale::phone {

Bytes encodedPng(const Canvas& canvas) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(canvas.side());
  image.height = static_cast<png_uint_32>(canvas.side());
  image.format = PNG_FORMAT_RGB;
  Bytes out(PNG_IMAGE_PNG_SIZE_MAX(image));
  png_alloc_size_t size = out.size();
  const bool done =
      png_image_write_to_memory(&image, out.data(), &size, 0, canvas.pixels().data(), 0, nullptr) != 0;
  png_image_free(&image);
  if (!done) throw std::runtime_error("the PNG library failed");
  out.resize(size);
  return out;
}

}  // namespace tunevale::phone
