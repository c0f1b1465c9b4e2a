#pragma once

#include <optional>
#include <string>

#include "foundation/Bytes.h"
#include "host/ByteBudgetImageCache.h"
#include "host/ImageLimits.h"

namespace tunevale::host {

/// Pictures that stay in their files. Any thread.
class ImageFiles {
 public:
  /// As ImageCodec::imageWithContentsOfFile.
  ImagePtr imageAt(const std::string& path);
  /// The bytes of such a picture's file, which counts as used now. Nothing when the file is gone, or is no
  /// longer as it was when the picture was made of it.
  static std::optional<Bytes> contentsOf(const Image& image);

 private:
  ByteBudgetImageCache lately_{kImageCacheBytes};  // by path
};

}  // namespace tunevale::host
