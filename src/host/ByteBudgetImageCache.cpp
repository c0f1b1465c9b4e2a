#include "host/ByteBudgetImageCache.h"

namespace tunevale::host {

namespace {

// An entry and its place in the map, roughly: so that tiny images count too.
constexpr std::size_t kBookkeepingBytes = 256;

}  // namespace

std::size_t ByteBudgetImageCache::costOf(const Entry& entry) {
  return entry.image->byteCount() + entry.key.size() + kBookkeepingBytes;
}

void ByteBudgetImageCache::take(Entries::iterator entry, Entries& taken) {
  byteCount_ -= costOf(*entry);
  byKey_.erase(entry->key);
  taken.splice(taken.end(), entries_, entry);
}

void ByteBudgetImageCache::setObject(ImagePtr image, std::string key) {
  Entries dropped;  // freed after the lock
  const MutexLock lock(mutex_);
  if (const auto place = byKey_.find(key); place != byKey_.end()) take(place->second, dropped);
  if (!image) return;
  entries_.push_front({std::move(key), std::move(image)});
  byKey_.emplace(entries_.front().key, entries_.begin());
  byteCount_ += costOf(entries_.front());
  while (byteCount_ > byteBudget_) take(std::prev(entries_.end()), dropped);
}

ImagePtr ByteBudgetImageCache::objectForKey(std::string_view key) {
  const MutexLock lock(mutex_);
  const auto place = byKey_.find(key);
  if (place == byKey_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, place->second);
  return place->second->image;
}

std::size_t ByteBudgetImageCache::byteCount() const {
  const MutexLock lock(mutex_);
  return byteCount_;
}

}  // namespace tunevale::host
