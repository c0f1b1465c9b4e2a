#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/PlistValue.h"
#include "platform/ImageCache.h"
#include "platform/Queues.h"

namespace tunevale {

struct Platform;

/// The one store of the phone's radio stations and of their artwork. Changes are queued and return at once;
/// reads wait for every change submitted before them. Any thread, except that reads must not come from a
/// block on the store's own queue.
class RadioManager {
 public:
  /// The store of this platform, made at the first call. It lives as long as the platform.
  static RadioManager& sharedManager(Platform& platform);
  ~RadioManager();

  /// Takes the stored station lists up again, unless the artwork directory is gone: the stored copy outlives
  /// a purge, and is not to come back after one.
  void loadRadioData();
  /// Takes the phone's station lists: a dictionary with "featured" and "artist". It is stored whole; an empty
  /// or missing list leaves the one in memory as it was. What is no dictionary, or an empty one, changes
  /// nothing.
  void updateRadioInfo(const PlistValue* stations);
  /// Keeps an image under the key of its artwork file and posts kNotificationFetchedRadioImage on the main
  /// queue. Null changes nothing.
  void addImageToCache(ImagePtr image, std::string_view withName);
  /// Empties lists, images and count; the copy in user defaults stays.
  void removeRadioData();

  /// The image of an artwork file, or null when it never came or is no longer held.
  ImagePtr getCachedImageForRadioName(std::string_view fileName);
  /// Empty when there are none. A list stays as it was however long it is kept.
  PlistArray getFeaturedStations();
  PlistArray getArtistStations();
  /// The cache itself; removeRadioData() leaves it behind and starts another.
  std::shared_ptr<ImageCache> getCachedImages();
  /// How many images were added, repeated ones too, since the start or the last removeRadioData().
  std::int32_t getTotalCacheCount();
  /// The key of an artwork file name: without as many characters as "_image.png" has, if it is in there
  /// anywhere, or else as ".png" has, and capitalised. Pure.
  std::string getImageKey(std::string_view fileName) const;

 private:
  explicit RadioManager(Platform& platform);
  void takeLists(const PlistValue* stations);

  Platform& platform_;
  // Touched by blocks on radioQueue_ only.
  std::shared_ptr<ImageCache> cachedImages_;
  PlistArray featuredStations_;
  PlistArray artistStations_;
  std::int32_t cacheCount_ = 0;
  // Last, so that it goes first: it runs what is still queued, which uses the fields above.
  std::unique_ptr<SerialQueue> radioQueue_;
};

}  // namespace tunevale
