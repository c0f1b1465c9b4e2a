#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE

#include <jerror.h>
#include <jpeglib.h>

#include "host/ImageFormats.h"
#include "host/ImageLimits.h"

namespace tunevale::host {

namespace {

// libjpeg leaves through error_exit, from which we jump; the functions that call it hold plain values only,
// and whatever has a destructor lives in readJpeg(), which no jump crosses.
struct JpegInput {
  jpeg_decompress_struct decoder;
  jpeg_error_mgr errors;
  jpeg_progress_mgr progress;
  std::jmp_buf failed;
};

[[noreturn]] void fail(j_common_ptr decoder) {
  std::longjmp(static_cast<JpegInput*>(decoder->client_data)->failed, 1);
}

// The library paints over damage with grey and a warning; to us a damaged picture is none.
void judgeMessage(j_common_ptr decoder, int level) {
  if (level >= 0) return;
  const int code = decoder->err->msg_code;
  if (code != JWRN_EXTRANEOUS_DATA && code != JWRN_ADOBE_XFORM && code != JWRN_JFIF_MAJOR) fail(decoder);
}

void printNothing(j_common_ptr) {}

void countScans(j_common_ptr decoder) {
  if (reinterpret_cast<j_decompress_ptr>(decoder)->input_scan_number > kMostJpegScans) fail(decoder);
}

bool readHeader(JpegInput& input, ByteView data) {
  jpeg_decompress_struct& decoder = input.decoder;
  decoder.err = jpeg_std_error(&input.errors);
  decoder.client_data = &input;
  input.errors.error_exit = fail;
  input.errors.emit_message = judgeMessage;
  input.errors.output_message = printNothing;
  if (setjmp(input.failed) != 0) return false;
  jpeg_create_decompress(&decoder);
  input.progress.progress_monitor = countScans;
  decoder.progress = &input.progress;
  decoder.mem->max_memory_to_use = kMostJpegWorkspace;
  jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char*>(data.data()), data.size());
  jpeg_read_header(&decoder, TRUE);
  if (decoder.image_width > kMostImageSide || decoder.image_height > kMostImageSide) return false;
  if (decoder.num_components != 1 && decoder.num_components != 3) return false;
  decoder.out_color_space = JCS_EXT_RGBA;
  jpeg_calc_output_dimensions(&decoder);
  return true;
}

bool readRows(JpegInput& input, std::uint8_t* pixels) {
  jpeg_decompress_struct& decoder = input.decoder;
  if (setjmp(input.failed) != 0) return false;
  jpeg_start_decompress(&decoder);
  while (decoder.output_scanline < decoder.output_height) {
    JSAMPROW row = pixels + std::size_t{decoder.output_scanline} * decoder.output_width * 4;
    jpeg_read_scanlines(&decoder, &row, 1);
  }
  jpeg_finish_decompress(&decoder);
  return true;
}

}  // namespace

bool looksLikeJpeg(ByteView data) {
  return data.size() >= 3 && data[0] == std::byte{0xFF} && data[1] == std::byte{0xD8} &&
         data[2] == std::byte{0xFF};
}

std::optional<Pixels> readJpeg(ByteView data) {
  JpegInput input{};
  struct Closer {
    JpegInput& input;
    ~Closer() { jpeg_destroy_decompress(&input.decoder); }
  } closer{input};
  if (!readHeader(input, data)) return {};
  Pixels pixels{input.decoder.output_width, input.decoder.output_height, {}};
  pixels.bytes.resize(std::size_t{pixels.width} * pixels.height * 4);
  if (!readRows(input, pixels.bytes.data())) return {};
  return pixels;
}

}  // namespace tunevale::host
