#pragma once

#include <string_view>

#include "platform/Image.h"

namespace tunevale {
struct Platform;
}

namespace tunevale::WatchUtil {

/// A file of the artwork cache, decoded when it is drawn; `key` is its complete file name. Null when there is
/// no such file or it holds no image. Any thread.
ImagePtr getImageForKey(Platform& platform, std::string_view key);

}  // namespace tunevale::WatchUtil
