#include "host/ImageStore.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <map>
#include <vector>

#include "host/ImageLimits.h"
#include "platform/ImageCodec.h"
#include "platform/Queues.h"

namespace tunevale::host {

namespace {

// A picture's place in the map, roughly: so that many small ones count too.
constexpr std::size_t kPlaceBytes = 256;

}  // namespace

struct ImageStore::State {
  struct Picture {
    ImagePtr image;
    std::uint64_t seen = 0;    // the latest screen it was on
    std::uint64_t served = 0;  // rises with each answer
    Png png;
    std::size_t byteCount() const { return image->byteCount() + kPlaceBytes; }
  };
  std::map<std::string, Picture, std::less<>> pictures;
  std::map<std::string, std::vector<Answer>, std::less<>> waiting;  // for an encoding under way
  std::uint64_t screen = 0;
  std::uint64_t answers = 0;

  void take(const std::string& id, const Png& png) {
    const auto asked = waiting.extract(id);
    if (const auto found = pictures.find(id); found != pictures.end()) {
      found->second.png = png;
      found->second.served = ++answers;
      dropOldFiles();
    }
    for (const Answer& answer : asked.mapped()) answer(png);
  }

  void dropOldFiles() {
    const auto isOlder = [](const auto& a, const auto& b) {
      if (!a.second.png || !b.second.png) return static_cast<bool>(a.second.png);
      return a.second.served < b.second.served;
    };
    std::size_t bytes = 0;
    for (const auto& [id, picture] : pictures) bytes += picture.png ? picture.png->size() : 0;
    while (bytes > kPngCacheBytes) {
      Picture& oldest = std::min_element(pictures.begin(), pictures.end(), isOlder)->second;
      bytes -= oldest.png->size();
      oldest.png.reset();
    }
  }

  void dropLatePictures() {
    std::vector<std::pair<std::uint64_t, std::string>> late;
    std::size_t bytes = 0;
    for (const auto& [id, picture] : pictures) {
      if (picture.seen == screen) continue;
      late.emplace_back(picture.seen, id);
      bytes += picture.byteCount();
    }
    std::sort(late.begin(), late.end());
    for (const auto& [seen, id] : late) {
      if (bytes <= kLatePictureBytes) return;
      const auto found = pictures.find(id);
      bytes -= found->second.byteCount();
      pictures.erase(found);
    }
  }
};

ImageStore::ImageStore(const InterfaceLayout& layout, ImageCodec& codec, MainQueue& mainQueue,
                       std::unique_ptr<SerialQueue> encodingQueue)
    : layout_(layout),
      codec_(codec),
      mainQueue_(mainQueue),
      state_(std::make_shared<State>()),
      queue_(std::move(encodingQueue)) {}

ImageStore::~ImageStore() = default;

void ImageStore::beginScreen() {
  ++state_->screen;
}

void ImageStore::endScreen() {
  state_->dropLatePictures();
}

std::string ImageStore::idOf(const ImageSource& source) {
  if (!source.image) {
    const bool known = layout_.images.contains(source.name) || layout_.sequences.contains(source.name);
    return known ? source.name : "";
  }
  char id[32];
  std::snprintf(id, sizeof id, "art-%016" PRIx64, source.image->digest);
  State::Picture& picture = state_->pictures[id];
  picture.image = source.image;
  picture.seen = state_->screen;
  return id;
}

std::optional<std::string> ImageStore::fileOf(std::string_view id) const {
  if (!layout_.images.contains(id)) return std::nullopt;
  return std::string(id) + ".png";
}

void ImageStore::encoded(const std::string& id, Answer answer) {
  const auto found = state_->pictures.find(id);
  if (found == state_->pictures.end()) return answer(nullptr);
  State::Picture& picture = found->second;
  if (picture.png) {
    picture.served = ++state_->answers;
    return answer(picture.png);
  }
  auto& waiting = state_->waiting[id];
  waiting.push_back(std::move(answer));
  if (waiting.size() > 1) return;
  queue_->async([id, image = picture.image, &codec = codec_, &mainQueue = mainQueue_,
                 weak = std::weak_ptr<State>(state_)] {
    Png png;
    if (const auto bytes = codec.pngRepresentation(*image))
      png = std::make_shared<const std::string>(asText(*bytes));
    mainQueue.async([id, png, weak] {
      if (const auto state = weak.lock()) state->take(id, png);
    });
  });
}

}  // namespace tunevale::host
