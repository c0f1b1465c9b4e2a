#include "util/CachedImages.h"

#include "platform/Platform.h"
#include "util/ArtworkPath.h"

namespace tunevale::WatchUtil {

ImagePtr getImageForKey(Platform& platform, std::string_view key) {
  const auto path = artworkPath(platform.homeDirectory, key);
  return path ? platform.imageCodec.imageWithContentsOfFile(*path) : nullptr;
}

}  // namespace tunevale::WatchUtil
