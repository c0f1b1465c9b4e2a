#include "util/ArtworkPath.h"

#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

namespace {

constexpr std::size_t kLongestName = 255;

bool isPlainName(std::string_view name) {
  if (name.empty() || name == "." || name == ".." || name.size() > kLongestName) return false;
  return name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

}  // namespace

std::string artworkDirectory(std::string_view homeDirectory) {
  std::string_view directory = kImageCacheDirectory;
  directory.remove_suffix(1);
  return std::string(homeDirectory).append(directory);
}

std::optional<std::string> artworkPath(std::string_view homeDirectory, std::string_view fileName) {
  if (!isPlainName(fileName)) return std::nullopt;
  return std::string(homeDirectory).append(kImageCacheDirectory).append(fileName);
}

}  // namespace tunevale
