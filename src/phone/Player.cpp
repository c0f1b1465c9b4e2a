#include "phone/Player.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/Text.h"

namespace tunevale::phone {

namespace {

using Seconds = std::chrono::seconds;
constexpr Player::Duration kUnknownDuration = Seconds(180);
constexpr double kLongestSeconds = 24 * 60 * 60;

}  // namespace

Player::Duration durationOf(const PlistDictionary& song) {
  const PlistValue* moreInfo = song.find("more_info");
  const PlistDictionary* details = moreInfo == nullptr ? nullptr : moreInfo->dictionary();
  const PlistValue* value = details == nullptr ? nullptr : details->find("duration");
  if (value == nullptr) return kUnknownDuration;
  const double seconds =
      value->string() ? static_cast<double>(integerValue(*value->string())) : value->number().value_or(0);
  if (!(seconds >= 1 && seconds <= kLongestSeconds)) return kUnknownDuration;
  return Player::Duration(std::llround(seconds * 1000));
}

void Player::load(PlistArray songs, std::size_t index, AtEnd atEnd) {
  queue_ = std::move(songs);
  atEnd_ = atEnd;
  playing_ = false;
  start(index, Duration(0));
}

void Player::start(std::size_t index, Duration position) {
  index_ = index;
  heard_ = position;
  since_ = now_();
}

const PlistDictionary* Player::song() const {
  const PlistValue* value = queue_.at(index_);
  return value == nullptr ? nullptr : value->dictionary();
}

void Player::play() {
  if (playing_ || song() == nullptr) return;
  playing_ = true;
  since_ = now_();
}

void Player::pause() {
  heard_ = position();
  playing_ = false;
}

void Player::next() {
  if (queue_.empty()) return;
  if (index_ + 1 == queue_.size() && atEnd_ == AtEnd::stop) return clear();
  start((index_ + 1) % queue_.size(), Duration(0));
  play();
}

void Player::previous() {
  if (queue_.empty()) return;
  start(index_ == 0 ? 0 : index_ - 1, Duration(0));
  play();
}

void Player::advance() {
  while (const auto end = nextDeadline()) {
    const Time now = now_();
    if (now < *end) return;
    next();
    // The next song began when the last one ended, not when somebody looked.
    since_ = *end;
  }
}

Player::Duration Player::duration() const {
  return song() == nullptr ? Duration(0) : durationOf(*song());
}

Player::Duration Player::position() const {
  if (!playing_) return heard_;
  return std::min(heard_ + std::chrono::duration_cast<Duration>(now_() - since_), duration());
}

std::optional<Player::Time> Player::nextDeadline() const {
  if (!playing_) return std::nullopt;
  return since_ + (duration() - heard_);
}

void Player::setVolume(int volume) {
  volume_ = std::clamp(volume, 0, kLoudest);
}

}  // namespace tunevale::phone
