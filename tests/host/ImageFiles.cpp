#include "host/ImageFiles.h"

#include <cstdio>  // jpeglib.h needs FILE
#include <cstdlib>

#include <jpeglib.h>
#include <png.h>
#include <zlib.h>

namespace tunevale::test {

namespace {

void append(Bytes& out, ByteView more) {
  out.insert(out.end(), more.begin(), more.end());
}

void appendNumber(Bytes& out, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::byte>(number >> shift));
}

const Bytef* zlibBytes(ByteView bytes) {
  return reinterpret_cast<const Bytef*>(bytes.data());
}

}  // namespace

Bytes makePng(const PngKind& kind, std::uint32_t width, const std::vector<std::vector<std::uint8_t>>& rows) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  Bytes out;
  png_set_write_fn(
      png, &out,
      [](png_structp self, png_bytep bytes, std::size_t count) {
        append(*static_cast<Bytes*>(png_get_io_ptr(self)), std::as_bytes(std::span(bytes, count)));
      },
      [](png_structp) {});
  png_set_IHDR(png, info, width, static_cast<png_uint_32>(rows.size()), kind.bitDepth, kind.colorType,
               kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (!kind.palette.empty()) {
    std::vector<png_color> colors;
    for (std::size_t i = 0; i < kind.palette.size(); i += 3) {
      colors.push_back({kind.palette[i], kind.palette[i + 1], kind.palette[i + 2]});
    }
    png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
  }
  if (!kind.transparency.empty()) {
    png_set_tRNS(png, info, kind.transparency.data(), static_cast<int>(kind.transparency.size()), nullptr);
  }
  std::vector<std::vector<std::uint8_t>> copy = rows;
  std::vector<png_bytep> pointers;
  for (auto& row : copy) pointers.push_back(row.data());
  png_set_rows(png, info, pointers.data());
  png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  png_destroy_write_struct(&png, &info);
  return out;
}

Bytes assemblePng(const std::vector<PngChunk>& chunks) {
  Bytes out;
  append(out, asBytes("\x89PNG\r\n\x1A\n"));
  for (const PngChunk& chunk : chunks) {
    appendNumber(out, static_cast<std::uint32_t>(chunk.data.size()));
    Bytes body;
    append(body, asBytes(chunk.type));
    append(body, chunk.data);
    append(out, body);
    appendNumber(out, static_cast<std::uint32_t>(crc32(0, zlibBytes(body), static_cast<uInt>(body.size()))));
  }
  return out;
}

Bytes pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, std::uint8_t colorType) {
  Bytes header;
  appendNumber(header, width);
  appendNumber(header, height);
  for (const int byte : {int{bitDepth}, int{colorType}, 0, 0, 0})
    header.push_back(static_cast<std::byte>(byte));
  return header;
}

Bytes deflated(const Bytes& data) {
  uLongf size = compressBound(data.size());
  Bytes out(size);
  compress2(reinterpret_cast<Bytef*>(out.data()), &size, zlibBytes(data), data.size(), 9);
  out.resize(size);
  return out;
}

Bytes makeJpeg(std::uint32_t width, std::uint32_t height, int components,
               const std::vector<std::uint8_t>& samples,
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
  encoder.in_color_space = components == 1 ? JCS_GRAYSCALE : components == 4 ? JCS_CMYK : JCS_RGB;
  jpeg_set_defaults(&encoder);
  if (configure) configure(encoder);
  jpeg_start_compress(&encoder, TRUE);
  const std::size_t stride = std::size_t{width} * static_cast<std::size_t>(components);
  while (encoder.next_scanline < height) {
    std::vector<std::uint8_t> row(stride);
    for (std::size_t i = 0; i < stride; ++i)
      row[i] = samples[(encoder.next_scanline * stride + i) % samples.size()];
    JSAMPROW rows = row.data();
    jpeg_write_scanlines(&encoder, &rows, 1);
  }
  jpeg_finish_compress(&encoder);
  Bytes bytes;
  append(bytes, std::as_bytes(std::span(data, size)));
  jpeg_destroy_compress(&encoder);
  std::free(data);
  return bytes;
}

Bytes greyJpegOfScans(int scans) {
  // The mean first; then each of the 63 frequencies alone, without its last bit; then those bits one by one.
  std::vector<jpeg_scan_info> script{{1, {0}, 0, 0, 0, 0}};
  for (int k = 1; k < 64; ++k) script.push_back({1, {0}, k, k, 0, 1});
  for (int k = 1; k < 64; ++k) script.push_back({1, {0}, k, k, 1, 0});
  script.resize(static_cast<std::size_t>(scans));
  std::vector<std::uint8_t> samples;
  for (unsigned i = 0; i < 64 * 64; ++i) samples.push_back(static_cast<std::uint8_t>(i * i / 64));
  return makeJpeg(64, 64, 1, samples, [&](jpeg_compress_struct& encoder) {
    encoder.scan_info = script.data();
    encoder.num_scans = scans;
  });
}

}  // namespace tunevale::test
