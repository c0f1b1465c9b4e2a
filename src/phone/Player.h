#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>

#include "foundation/PlistArray.h"
#include "foundation/PlistDictionary.h"

namespace tunevale::phone {

inline constexpr int kLoudest = 10;

/// A queue of songs, a place in it, and a clock that moves through the song while it plays. Plays no sound.
class Player {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::milliseconds;
  enum class AtEnd { stop, startOver };

  explicit Player(std::function<Time()> now) : now_(std::move(now)) {}

  /// Takes songs as its queue, paused at the start of one of them (below the number of songs). Elements that
  /// are no dictionaries may not be among them. Empty: as clear().
  void load(PlistArray songs, std::size_t index, AtEnd atEnd = AtEnd::stop);
  void clear() { load({}, 0); }
  /// These do nothing while the queue is empty.
  void play();
  void pause();
  /// The next song, playing. After the last one the queue is empty, unless it starts over.
  void next();
  /// The song before, playing; the first one starts again.
  void previous();
  /// Moves on past what has ended by now. Call it before looking at anything below.
  void advance();

  const PlistArray& queue() const { return queue_; }
  std::size_t index() const { return index_; }
  /// Null while the queue is empty.
  const PlistDictionary* song() const;
  bool isPlaying() const { return playing_; }
  Duration position() const;
  Duration duration() const;
  /// When the song ends, while it plays.
  std::optional<Time> nextDeadline() const;

  int volume() const { return volume_; }
  /// Clamped to 0 to kLoudest.
  void setVolume(int volume);

 private:
  void start(std::size_t index, Duration position);

  std::function<Time()> now_;
  PlistArray queue_;
  std::size_t index_ = 0;
  AtEnd atEnd_ = AtEnd::stop;
  bool playing_ = false;
  Duration heard_{0};  // of the song, until since_
  Time since_{};       // while playing
  int volume_ = 0;
};

/// "more_info"."duration" in seconds, a text or a number; three minutes when that is missing or absurd.
Player::Duration durationOf(const PlistDictionary& song);

}  // namespace tunevale::phone
