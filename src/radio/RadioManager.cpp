#include "radio/RadioManager.h"

#include <utility>

#include "foundation/KeyedArchive.h"
#include "foundation/Text.h"
#include "platform/Platform.h"
#include "util/ArtworkPath.h"
#include "util/ValueChecks.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

RadioManager& RadioManager::sharedManager(Platform& platform) {
  std::call_once(platform.madeRadioManager,
                 [&platform] { platform.radioManager.reset(new RadioManager(platform)); });
  return *platform.radioManager;
}

RadioManager::RadioManager(Platform& platform)
    : platform_(platform),
      cachedImages_(platform.makeImageCache()),
      radioQueue_(platform.makeSerialQueue("com.tunevale.watch.radioQueue")) {}

RadioManager::~RadioManager() = default;

void RadioManager::loadRadioData() {
  if (!platform_.fileManager.fileExistsAtPath(artworkDirectory(platform_.homeDirectory))) return;
  radioQueue_->async([this] {
    const auto stored = platform_.standardUserDefaults.objectForKey(kReceiveRadioStations);
    const auto stations = unarchiveObjectWithData(valueOrNull(stored));
    takeLists(valueOrNull(stations));
  });
}

void RadioManager::updateRadioInfo(const PlistValue* stations) {
  if (!isNonEmptyDictionary(stations)) return;
  radioQueue_->async([this, held = *stations] {
    platform_.standardUserDefaults.setObject(archivedDataWithRootObject(held), kReceiveRadioStations);
    takeLists(&held);
  });
}

void RadioManager::takeLists(const PlistValue* stations) {
  const PlistValue* featured = valueForKey(stations, "featured");
  if (isNonEmptyArray(featured)) featuredStations_ = arrayOrEmpty(featured);
  const PlistValue* artist = valueForKey(stations, "artist");
  if (isNonEmptyArray(artist)) artistStations_ = arrayOrEmpty(artist);
}

void RadioManager::addImageToCache(ImagePtr image, std::string_view withName) {
  if (!isNonEmptyImage(image)) return;
  radioQueue_->async([this, image = std::move(image), name = std::string(withName)] {
    cachedImages_->setObject(image, getImageKey(name));
    // Counts what was added; what the cache lets go or replaces is not subtracted.
    ++cacheCount_;
    platform_.mainQueue.async(
        [&center = platform_.defaultCenter] { center.postNotificationName(kNotificationFetchedRadioImage); });
  });
}

void RadioManager::removeRadioData() {
  radioQueue_->async([this] {
    cachedImages_ = platform_.makeImageCache();
    featuredStations_ = {};
    artistStations_ = {};
    cacheCount_ = 0;
  });
}

ImagePtr RadioManager::getCachedImageForRadioName(std::string_view fileName) {
  ImagePtr image;
  radioQueue_->sync([&] { image = cachedImages_->objectForKey(getImageKey(fileName)); });
  return image;
}

PlistArray RadioManager::getFeaturedStations() {
  PlistArray stations;
  radioQueue_->sync([&] { stations = featuredStations_; });
  return stations;
}

PlistArray RadioManager::getArtistStations() {
  PlistArray stations;
  radioQueue_->sync([&] { stations = artistStations_; });
  return stations;
}

std::shared_ptr<ImageCache> RadioManager::getCachedImages() {
  std::shared_ptr<ImageCache> images;
  radioQueue_->sync([&] { images = cachedImages_; });
  return images;
}

std::int32_t RadioManager::getTotalCacheCount() {
  std::int32_t count = 0;
  radioQueue_->sync([&] { count = cacheCount_; });
  return count;
}

std::string RadioManager::getImageKey(std::string_view fileName) const {
  constexpr std::string_view kStationSuffix = "_image.png";
  constexpr std::string_view kOtherSuffix = ".png";
  const bool ofStation = fileName.find(kStationSuffix) != std::string_view::npos;
  const std::size_t cut = ofStation ? kStationSuffix.size() : kOtherSuffix.size();
  return platform_.letterCase.capitalizedString(dropLastUtf16(fileName, cut));
}

}  // namespace tunevale
