#pragma once

#include <string>
#include <string_view>

#include "platform/Image.h"

namespace tunevale {

/// Pictures by key, held only as long as memory allows: an entry may be gone at any time, and a
/// missing one is never an error. Any thread.
class ImageCache {
 public:
  virtual ~ImageCache() = default;
  /// Keeps an image under a key, replacing what was there.
  virtual void setObject(ImagePtr image, std::string key) = 0;
  /// The image under a key, or null.
  virtual ImagePtr objectForKey(std::string_view key) = 0;
};

}  // namespace tunevale
