#include "util/CachedImages.h"

#include "platform/Platform.h"
#include "util/ArtworkPath.h"

namespace tunevale::WatchUtil {

ImagePtr getImageForKey(Platform& platform, std::string_view key) {
  const auto path = artworkPath(platform.homeDirectory, key);
  if (!path || !platform.fileManager.fileExistsAtPath(*path)) return nullptr;
  const auto contents = platform.fileManager.contentsAtPath(*path);
  return contents ? platform.imageCodec.imageWithData(*contents) : nullptr;
}

}  // namespace tunevale::WatchUtil
