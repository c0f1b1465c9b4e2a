#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

#include <zlib.h>

#include "foundation/Bytes.h"

namespace tunevale::test {

/// PNG files put together by hand (ISO 15948, chapter 5), so that a test can say what an encoder
/// never would.
struct PngChunk {
  std::string_view type;
  Bytes data;
};

inline void appendBytes(Bytes& out, ByteView more) {
  out.insert(out.end(), more.begin(), more.end());
}

inline void appendNumber(Bytes& out, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::byte>(number >> shift));
}

inline Bytes bytesOf(std::initializer_list<int> values) {
  Bytes out;
  for (const int value : values) out.push_back(static_cast<std::byte>(value));
  return out;
}

/// The signature and these chunks, each with its right checksum.
inline Bytes assemblePng(const std::vector<PngChunk>& chunks) {
  Bytes out(asBytes("\x89PNG\r\n\x1A\n").begin(), asBytes("\x89PNG\r\n\x1A\n").end());
  for (const PngChunk& chunk : chunks) {
    Bytes body(asBytes(chunk.type).begin(), asBytes(chunk.type).end());
    appendBytes(body, chunk.data);
    appendNumber(out, static_cast<std::uint32_t>(chunk.data.size()));
    appendBytes(out, body);
    const auto* begin = reinterpret_cast<const Bytef*>(body.data());
    appendNumber(out, static_cast<std::uint32_t>(crc32(0, begin, static_cast<uInt>(body.size()))));
  }
  return out;
}

inline Bytes pngHeader(std::uint32_t width, std::uint32_t height, int bitDepth, int colorType,
                       bool interlaced = false) {
  Bytes header;
  appendNumber(header, width);
  appendNumber(header, height);
  appendBytes(header, bytesOf({bitDepth, colorType, 0, 0, interlaced ? 1 : 0}));
  return header;
}

inline Bytes deflated(const Bytes& data) {
  uLongf size = compressBound(data.size());
  Bytes out(size);
  compress2(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
            data.size(), 9);
  out.resize(size);
  return out;
}

/// The contents of an APP1 marker that says nothing but how a picture is turned, after an entry of another
/// kind.
inline Bytes exif(int orientation, bool bigEndian) {
  Bytes out = bytesOf({'E', 'x', 'i', 'f', 0, 0});
  const Bytes tiff = bigEndian
                         ? bytesOf({'M', 'M', 0, 42, 0, 0, 0,    8, 0, 2, 1, 0, 0, 3, 0,           0, 0,
                                    1,   0,   7, 0,  0, 1, 0x12, 0, 3, 0, 0, 0, 1, 0, orientation, 0, 0})
                         : bytesOf({'I', 'I', 42, 0, 8, 0,    0, 0, 2, 0, 0, 1, 3, 0,           1, 0, 0,
                                    0,   7,   0,  0, 0, 0x12, 1, 3, 0, 1, 0, 0, 0, orientation, 0, 0, 0});
  appendBytes(out, tiff);
  return out;
}

/// A JPEG with these contents of an APP1 marker before everything else.
inline Bytes withExif(const Bytes& jpeg, const Bytes& contents) {
  const auto size = static_cast<int>(contents.size() + 2);
  Bytes out = bytesOf({0xFF, 0xD8, 0xFF, 0xE1, size >> 8, size & 0xFF});
  appendBytes(out, contents);
  appendBytes(out, ByteView(jpeg).subspan(2));
  return out;
}

}  // namespace tunevale::test
