#include "host/ImageStore.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace tunevale::host {

namespace {

/// A page that is told of a picture asks for it within a few states of the screen.
constexpr unsigned long kStatesKept = 16;

std::string digestId(const Image& image) {
  std::array<char, 24> text{};
  std::snprintf(text.data(), text.size(), "art-%016llx", static_cast<unsigned long long>(image.digest));
  return text.data();
}

ImageStore::PngFile fileAt(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return nullptr;
  return std::make_shared<const std::string>(std::istreambuf_iterator<char>(file),
                                             std::istreambuf_iterator<char>());
}

}  // namespace

ImageStore::ImageStore(ImageCodec& codec, std::map<std::string, std::string, std::less<>> layoutImages)
    : codec_(codec), layoutImages_(std::move(layoutImages)) {}

std::string ImageStore::idOf(const ImageSource& source) {
  if (!source.image) return source.name;
  std::string id = digestId(*source.image);
  Shown& shown = shown_[id];
  shown.image = source.image;
  shown.lastState = state_;
  return id;
}

void ImageStore::endState() {
  ++state_;
  std::erase_if(shown_, [this](const auto& entry) { return entry.second.lastState + kStatesKept < state_; });
}

ImageStore::PngFile ImageStore::png(const std::string& id) {
  if (const auto layout = layoutImages_.find(id); layout != layoutImages_.end())
    return fileAt(layout->second);
  const auto found = shown_.find(id);
  if (found == shown_.end()) return nullptr;
  Shown& shown = found->second;
  if (!shown.png) {
    const auto encoded = codec_.pngRepresentation(*shown.image);
    if (encoded) shown.png = std::make_shared<const std::string>(asText(*encoded));
  }
  return shown.png;
}

}  // namespace tunevale::host
