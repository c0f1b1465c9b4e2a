#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <jpeglib.h>

#include "phone/PictureEncoders.h"

namespace tunevale::phone {

namespace {

constexpr int kQuality = 88;

struct Failure {
  jpeg_error_mgr manager;
  std::jmp_buf back;
};

void fail(j_common_ptr common) {
  std::longjmp(reinterpret_cast<Failure*>(common->err)->back, 1);
}

// Holds plain values only, for nothing with a destructor may stand between setjmp and longjmp.
bool compress(jpeg_compress_struct* jpeg, Failure* failure, const unsigned char* pixels, unsigned side,
              unsigned char** out, unsigned long* size) {
  jpeg->err = jpeg_std_error(&failure->manager);
  failure->manager.error_exit = fail;
  if (setjmp(failure->back) != 0) return false;
  jpeg_create_compress(jpeg);
  jpeg_mem_dest(jpeg, out, size);
  jpeg->image_width = side;
  jpeg->image_height = side;
  jpeg->input_components = 3;
  jpeg->in_color_space = JCS_RGB;
  jpeg_set_defaults(jpeg);
  jpeg_set_quality(jpeg, kQuality, TRUE);
  jpeg_start_compress(jpeg, TRUE);
  while (jpeg->next_scanline < side) {
    auto* row = const_cast<unsigned char*>(pixels + std::size_t{jpeg->next_scanline} * side * 3);
    jpeg_write_scanlines(jpeg, &row, 1);
  }
  jpeg_finish_compress(jpeg);
  return true;
}

}  // namespace

Bytes encodedJpeg(const Canvas& canvas) {
  jpeg_compress_struct jpeg{};
  Failure failure{};
  unsigned char* out = nullptr;
  unsigned long size = 0;
  const bool done =
      compress(&jpeg, &failure, canvas.pixels().data(), static_cast<unsigned>(canvas.side()), &out, &size);
  jpeg_destroy_compress(&jpeg);
  const std::unique_ptr<unsigned char, void (*)(void*)> owner(out, std::free);
  if (!done) throw std::runtime_error("the JPEG library failed");
  const auto* first = reinterpret_cast<const std::byte*>(out);
  return Bytes(first, first + size);
}

}  // namespace tunevale::phone
