#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The artwork cache is one flat directory of PNG files below the home directory. Pure, any thread.
namespace tunevale {

/// The cache directory, without a final slash.
std::string artworkDirectory(std::string_view homeDirectory);

/// The path of a file of the cache: the only way from a name, which the phone chose, to a path. Nothing for a
/// name that is empty, "." or "..", holds "/" or NUL, or is longer than 255 bytes (the longest that common
/// file systems take), so that no name leads out of the directory.
std::optional<std::string> artworkPath(std::string_view homeDirectory, std::string_view fileName);

}  // namespace tunevale
