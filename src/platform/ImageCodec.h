#pragma once

#include <optional>
#include <string>

#include "foundation/Bytes.h"
#include "platform/Image.h"

namespace tunevale {

/// Pictures from bytes and back. Any thread; calls do not wait for one another.
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;

  /// Decodes a PNG or JPEG, told by its content. Null for everything else: damaged, unknown or past the
  /// limits that the implementation documents.
  virtual ImagePtr imageWithData(ByteView data) = 0;

  /// The picture in such a file, its pixels left there: no more is read than tells what it is, and nothing
  /// when the same file was asked for lately. Null when nothing there looks like a picture within the limits;
  /// damage further inside shows when it is drawn.
  virtual ImagePtr imageWithContentsOfFile(const std::string& path) = 0;

  /// The picture as a PNG that decodes to the same pixels; nothing when it cannot be encoded. A file is read
  /// here, and counts as used: nothing when it is damaged, gone, or another one by now.
  virtual std::optional<Bytes> pngRepresentation(const Image& image) = 0;
};

}  // namespace tunevale
