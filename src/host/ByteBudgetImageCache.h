#pragma once

#include <list>
#include <map>

#include "foundation/Mutex.h"
#include "platform/ImageCache.h"

namespace tunevale::host {

/// Keeps the images that were used last, as far as they fit a budget of bytes. An image that alone is past
/// the budget is not kept, and null keeps nothing.
class ByteBudgetImageCache : public ImageCache {
 public:
  explicit ByteBudgetImageCache(std::size_t byteBudget) : byteBudget_(byteBudget) {}
  void setObject(ImagePtr image, std::string key) override;
  ImagePtr objectForKey(std::string_view key) override;
  /// What the kept images and their bookkeeping take.
  std::size_t byteCount() const;

 private:
  struct Entry {
    std::string key;
    ImagePtr image;
  };
  using Entries = std::list<Entry>;
  static std::size_t costOf(const Entry& entry);
  /// Moves an entry out into `taken`.
  void take(Entries::iterator entry, Entries& taken) REQUIRES_LOCK(mutex_);

  const std::size_t byteBudget_;
  mutable Mutex mutex_;
  Entries entries_ GUARDED_BY(mutex_);  // the last used one first
  std::map<std::string_view, Entries::iterator> byKey_ GUARDED_BY(mutex_);
  std::size_t byteCount_ GUARDED_BY(mutex_) = 0;
};

}  // namespace tunevale::host
