#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE

#include <jerror.h>
#include <jpeglib.h>

#include "host/ExifOrientation.h"
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
  int orientation;  // 0 until known
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

// An APP1 marker, its two bytes of length first. The whole file is in memory, so the marker is too.
boolean readApp1(j_decompress_ptr decoder) {
  auto* input = static_cast<JpegInput*>(decoder->client_data);
  jpeg_source_mgr& source = *decoder->src;
  const ByteView rest(reinterpret_cast<const std::byte*>(source.next_input_byte), source.bytes_in_buffer);
  if (rest.size() < 2) fail(reinterpret_cast<j_common_ptr>(decoder));
  const std::size_t size = std::to_integer<std::size_t>(rest[0]) << 8 | std::to_integer<std::size_t>(rest[1]);
  if (size < 2 || size > rest.size()) fail(reinterpret_cast<j_common_ptr>(decoder));
  if (input->orientation == 0) input->orientation = exifOrientation(rest.first(size).subspan(2)).value_or(0);
  source.next_input_byte += size;
  source.bytes_in_buffer -= size;
  return TRUE;
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
  jpeg_set_marker_processor(&decoder, JPEG_APP0 + 1, readApp1);
  jpeg_read_header(&decoder, TRUE);
  if (decoder.image_width > kMostImageSide || decoder.image_height > kMostImageSide) return false;
  const int components = decoder.num_components;
  if (components != 1 && components != 3 && components != 4) return false;
  decoder.out_color_space = components == 4 ? JCS_CMYK : JCS_EXT_RGBA;
  return true;
}

// The library can leave out frequencies that a smaller picture does not show: eighths of the size, rounded
// up.
bool chooseScale(JpegInput& input, PixelSize wanted) {
  jpeg_decompress_struct& decoder = input.decoder;
  if (setjmp(input.failed) != 0) return false;
  decoder.scale_denom = 8;
  for (decoder.scale_num = 1; decoder.scale_num <= 8; ++decoder.scale_num) {
    jpeg_calc_output_dimensions(&decoder);
    if (decoder.output_width >= wanted.width && decoder.output_height >= wanted.height) return true;
  }
  return false;
}

// Inks on white paper, as many as there are and no colour profile. Adobe's programs store what is left white.
void mixInks(std::uint8_t* row, std::size_t width, bool inverted) {
  const unsigned flip = inverted ? 0 : 0xFF;
  for (std::uint8_t* pixel = row; pixel != row + width * 4; pixel += 4) {
    const unsigned black = pixel[3] ^ flip;
    for (int i = 0; i < 3; ++i) pixel[i] = static_cast<std::uint8_t>(((pixel[i] ^ flip) * black + 127) / 255);
    pixel[3] = 0xFF;
  }
}

bool readRows(JpegInput& input, Downscaler& scaler) {
  jpeg_decompress_struct& decoder = input.decoder;
  if (setjmp(input.failed) != 0) return false;
  jpeg_start_decompress(&decoder);
  while (decoder.output_scanline < decoder.output_height) {
    JSAMPROW row = scaler.row();
    jpeg_read_scanlines(&decoder, &row, 1);
    if (decoder.out_color_space == JCS_CMYK) {
      mixInks(row, decoder.output_width, decoder.saw_Adobe_marker != FALSE);
    }
    scaler.takeRow();
  }
  jpeg_finish_decompress(&decoder);
  return true;
}

}  // namespace

bool looksLikeJpeg(ByteView data) {
  return data.size() >= 3 && data[0] == std::byte{0xFF} && data[1] == std::byte{0xD8} &&
         data[2] == std::byte{0xFF};
}

std::optional<Pixels> readJpeg(ByteView data, std::uint32_t mostSide) {
  JpegInput input{};
  struct Closer {
    JpegInput& input;
    ~Closer() { jpeg_destroy_decompress(&input.decoder); }
  } closer{input};
  if (!readHeader(input, data)) return {};
  const PixelSize wanted = fitted({input.decoder.image_width, input.decoder.image_height}, mostSide);
  if (!chooseScale(input, wanted)) return {};
  Downscaler scaler({input.decoder.output_width, input.decoder.output_height}, wanted);
  if (!readRows(input, scaler)) return {};
  return oriented(scaler.result(), input.orientation);
}

}  // namespace tunevale::host
