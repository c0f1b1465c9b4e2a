#pragma once

#include "host/PngAssembly.h"

namespace tunevale::test {

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
