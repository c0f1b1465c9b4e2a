#pragma once

#include <cstdint>
#include <optional>

#include "foundation/Mutex.h"
#include "foundation/PlistValue.h"
#include "platform/Image.h"

namespace tunevale {

/// What the phone plays, as it last said. Written on the session's delivery queue, read on the main queue:
/// one lock guards all three, and nothing is announced under it. Any thread.
class NowPlaying {
 public:
  /// Takes the phone's report. False, and nothing changes, when neither the play state nor the song's name
  /// differs from what is on record. A song that is no dictionary is kept as an empty one.
  bool report(bool playing, const PlistValue& song);
  /// Takes the phone's word that its queue is empty: nothing plays any more. The song stays on record.
  void emptyQueue();
  /// Forgets the song of an emptied queue. A song that was reported since the queue was last emptied stays:
  /// screens learn of the emptying later than it happened, and the next song may be on record by then.
  void forgetSong();

  std::optional<PlistDictionary> song() const;
  void setSong(std::optional<PlistDictionary> song);
  bool isPlaying() const;
  void setIsPlaying(bool playing);
  ImagePtr image() const;
  void setImage(ImagePtr image);

 private:
  mutable Mutex mutex_;
  std::optional<PlistDictionary> song_ GUARDED_BY(mutex_);
  bool isPlaying_ GUARDED_BY(mutex_) = false;
  ImagePtr image_ GUARDED_BY(mutex_);
  std::uint64_t reports_ GUARDED_BY(mutex_) = 0;  // those that changed nothing too
  std::optional<std::uint64_t> reportsWhenEmptied_ GUARDED_BY(mutex_);
};

}  // namespace tunevale
