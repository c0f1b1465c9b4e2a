#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/FileManager.h"

/// The artwork cache is one flat directory of PNG files below the home directory. Pure, any thread.
namespace tunevale {

/// What the cache may hold: the pictures of twice as many stations as a picker shows, at a usual 64 KiB; and
/// what a phone gone wrong may fill a disk with.
inline constexpr DirectoryLimits kArtworkLimits{4096, std::size_t{256} << 20};

/// The cache directory, without a final slash.
std::string artworkDirectory(std::string_view homeDirectory);

/// The path of a file of the cache: the only way from a name, which the phone chose, to a path. Nothing for a
/// name that is empty, "." or "..", holds "/" or NUL, or is longer than 255 bytes (the longest that common
/// file systems take), so that no name leads out of the directory.
std::optional<std::string> artworkPath(std::string_view homeDirectory, std::string_view fileName);

}  // namespace tunevale
