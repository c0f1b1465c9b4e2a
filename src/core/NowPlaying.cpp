#include "core/NowPlaying.h"

#include <utility>

#include "util/SongMetadata.h"
#include "util/ValueChecks.h"

namespace tunevale {

bool NowPlaying::report(bool playing, const PlistValue& song) {
  const MutexLock lock(mutex_);
  ++reports_;
  const PlistValue known = song_ ? PlistValue(*song_) : PlistValue();
  if (isPlaying_ == playing && WatchUtil::getNameForSong(&known) == WatchUtil::getNameForSong(&song)) {
    return false;
  }
  isPlaying_ = playing;
  // What is no song is still a report, so there is a song on record, if one that says nothing.
  song_ = WatchUtil::dictionaryOrEmpty(&song);
  return true;
}

void NowPlaying::emptyQueue() {
  const MutexLock lock(mutex_);
  isPlaying_ = false;
  reportsWhenEmptied_ = reports_;
}

void NowPlaying::forgetSong() {
  const MutexLock lock(mutex_);
  if (reportsWhenEmptied_.value_or(reports_) == reports_) song_.reset();
}

std::optional<PlistDictionary> NowPlaying::song() const {
  const MutexLock lock(mutex_);
  return song_;
}

void NowPlaying::setSong(std::optional<PlistDictionary> song) {
  const MutexLock lock(mutex_);
  song_ = std::move(song);
}

bool NowPlaying::isPlaying() const {
  const MutexLock lock(mutex_);
  return isPlaying_;
}

void NowPlaying::setIsPlaying(bool playing) {
  const MutexLock lock(mutex_);
  isPlaying_ = playing;
}

ImagePtr NowPlaying::image() const {
  const MutexLock lock(mutex_);
  return image_;
}

void NowPlaying::setImage(ImagePtr image) {
  const MutexLock lock(mutex_);
  image_ = std::move(image);
}

}  // namespace tunevale
