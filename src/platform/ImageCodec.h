#pragma once

#include <optional>

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

  /// The picture as a PNG that decodes to the same pixels; nothing when it cannot be encoded.
  virtual std::optional<Bytes> pngRepresentation(const Image& image) = 0;
};

}  // namespace tunevale
