#include <csetjmp>
#include <cstring>

#include <png.h>

#include "host/ImageFormats.h"
#include "host/ImageLimits.h"
#include "host/PngErrors.h"

namespace tunevale::host {

namespace {

// libpng leaves by longjmp, so the functions that call it hold plain values only: whatever has a destructor
// lives in readPng(), which no jump crosses.
struct PngInput {
  const std::byte* next;
  std::size_t left;
  png_structp png = nullptr;
  png_infop info = nullptr;
};

void giveBytes(png_structp png, png_bytep out, std::size_t count) {
  auto* input = static_cast<PngInput*>(png_get_io_ptr(png));
  if (count > input->left) png_error(png, "cut short");
  std::memcpy(out, input->next, count);
  input->next += count;
  input->left -= count;
}

// The size as the header says, with the reader set up to give four bytes a pixel; false when unusable.
bool readHeader(PngInput& input, png_uint_32& width, png_uint_32& height) {
  input.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, leaveForPngError, ignorePngWarning);
  if (input.png == nullptr) return false;
  input.info = png_create_info_struct(input.png);
  if (input.info == nullptr || setjmp(png_jmpbuf(input.png)) != 0) return false;
  png_set_read_fn(input.png, &input, giveBytes);
  png_set_user_limits(input.png, kMostImageSide, kMostImageSide);
  png_set_chunk_malloc_max(input.png, kMostPngChunkBytes);
  png_set_chunk_cache_max(input.png, kMostPngChunks);
  png_set_keep_unknown_chunks(input.png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  png_read_info(input.png, input.info);
  width = png_get_image_width(input.png, input.info);
  height = png_get_image_height(input.png, input.info);
  png_set_expand(input.png);
  png_set_scale_16(input.png);
  png_set_gray_to_rgb(input.png);
  png_set_add_alpha(input.png, 0xFF, PNG_FILLER_AFTER);
  return true;
}

bool readRows(PngInput& input, std::uint8_t* pixels, png_uint_32 width, png_uint_32 height) {
  if (setjmp(png_jmpbuf(input.png)) != 0) return false;
  const int passes = png_set_interlace_handling(input.png);
  png_read_update_info(input.png, input.info);
  if (png_get_rowbytes(input.png, input.info) != std::size_t{width} * 4) return false;
  for (int pass = 0; pass < passes; ++pass) {
    for (png_uint_32 y = 0; y < height; ++y) {
      png_read_row(input.png, pixels + std::size_t{y} * width * 4, nullptr);
    }
  }
  png_read_end(input.png, nullptr);
  return true;
}

}  // namespace

bool looksLikePng(ByteView data) {
  return data.size() >= 8 && png_sig_cmp(reinterpret_cast<png_const_bytep>(data.data()), 0, 8) == 0;
}

std::optional<Pixels> readPng(ByteView data) {
  PngInput input{data.data(), data.size()};
  struct Closer {
    PngInput& input;
    ~Closer() { png_destroy_read_struct(&input.png, &input.info, nullptr); }
  } closer{input};
  Pixels pixels;
  if (!readHeader(input, pixels.width, pixels.height)) return {};
  pixels.bytes.resize(std::size_t{pixels.width} * pixels.height * 4);
  if (!readRows(input, pixels.bytes.data(), pixels.width, pixels.height)) return {};
  return pixels;
}

}  // namespace tunevale::host
