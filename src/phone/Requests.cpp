#include "phone/Requests.h"

#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "foundation/KeyedArchive.h"
#include "foundation/Text.h"
#include "phone/Catalogue.h"

namespace tunevale::phone {

namespace {

constexpr std::size_t kMostCached = 2000;  // so that their list stays far below the largest context
constexpr std::size_t kLongestSongId = 100;

PlistDictionary success() {
  return {{"request", "success"}};
}

PlistDictionary refusal(std::string_view text) {
  return {{"error", text}};
}

// Watches show an answer as it comes.
std::string quoted(const PlistDictionary& song) {
  return "\u201C" + plainText(textOf(song, "title")) + "\u201D";
}

std::optional<std::int64_t> wholeNumber(const PlistValue* value) {
  if (value == nullptr) return std::nullopt;
  if (const auto text = value->string()) return integerValue(*text);
  return value->integer();
}

}  // namespace

Answer Requests::answer(const PlistDictionary& message) {
  using Kind = Answer::Kind;
  const std::string_view name = textOf(message, "request");
  const bool isNotice = notice(name);
  const Switches& switches = state_.switches;
  if (switches.failing) return {Kind::failure, {}};
  if (switches.silent) return {Kind::silence, {}};
  if (isNotice) return {Kind::reply, success()};
  if (switches.refuse.empty()) return {Kind::reply, reply(name, message)};
  PlistDictionary refused = refusal(switches.refuse);
  // The watch shows what stands under this name and looks for nothing else.
  if (name == "downloadSong") refused.set("downloadSong", switches.refuse);
  return {Kind::reply, std::move(refused)};
}

DataAnswer Requests::answerData(ByteView data) {
  using Kind = DataAnswer::Kind;
  const Switches& switches = state_.switches;
  if (switches.failing) return {Kind::failure, {}};
  if (switches.silent) return {Kind::silence, {}};
  PlistDictionary answer = refusal(kUnknownRequest);
  const std::optional<PlistValue> decoded = unarchiveObjectWithData(data);
  const PlistDictionary* message = decoded ? decoded->dictionary() : nullptr;
  if (message != nullptr && textOf(*message, "request") == "fetch_app_data") {
    answer = switches.refuse.empty() ? success() : refusal(switches.refuse);
    if (switches.refuse.empty()) pushes_.wantEverything();
  }
  return {Kind::reply, archivedDataWithRootObject(answer)};
}

bool Requests::notice(std::string_view name) {
  if (name == "Hello") {
    pushes_.watchSaidHello();
  } else if (name == "weekly_top_15") {
    pushes_.watchAcknowledgedChart();
  } else if (name == "watch_purged_cache") {
    pushes_.watchPurgedCache();
  } else {
    // Of these the console and the events tell; there is nothing to do about them.
    return name == "app:foreground" || name == "app:background" || name == "open:playlist_home" ||
           name == "open:radio_home" || name == "open:player_home" || name == "radio_stations";
  }
  return true;
}

PlistDictionary Requests::reply(std::string_view name, const PlistDictionary& message) {
  if (name == "currentPlayingSong") return currentPlayingSong();
  if (name == "cachedSongList") return {{"pids", state_.cachedIds()}};
  if (name == "downloadSong") return downloadSong(message);
  if (name == "playWeeklyTop15") return playWeeklyTop15(message);
  if (name == "playRadio") return playRadio(message);
  if (name == "prevMedia") return withQueue(&Player::previous);
  if (name == "nextMedia") return withQueue(&Player::next);
  if (name == "playMedia") return playMedia(message);
  if (name == "pauseMedia") return withQueue(&Player::pause);
  if (name == "volume") return volume(message);
  return refusal(kUnknownRequest);
}

PlistDictionary Requests::withQueue(void (Player::*operation)()) {
  if (state_.player.song() == nullptr) return refusal(kNothingToPlay);
  (state_.player.*operation)();
  return success();
}

PlistDictionary Requests::currentPlayingSong() const {
  PlistDictionary playing{{"status", state_.player.isPlaying() ? "playing" : "paused"}};
  if (state_.player.song() != nullptr) playing.set("songInfo", *state_.player.song());
  return {{"currentPlayingSong", archivedDataWithRootObject(playing)}};
}

PlistDictionary Requests::downloadSong(const PlistDictionary& message) {
  const PlistValue* data = message.find("data");
  const PlistDictionary* song = data == nullptr ? nullptr : data->dictionary();
  const std::string id(song == nullptr ? std::string_view() : textOf(*song, "id"));
  if (id.empty() || id.size() > kLongestSongId) return {{"downloadSong", "This song cannot be downloaded."}};
  if (state_.cached.size() >= kMostCached) return {{"downloadSong", "There is no room left on your phone."}};
  if (!state_.cached.insert(id).second)
    return {{"downloadSong", quoted(*song) + " is on your phone already."}};
  pushes_.want(Pushes::Thing::cachedContext);
  return {{"downloadSong", quoted(*song) + " is now on your phone."}};
}

PlistDictionary Requests::playWeeklyTop15(const PlistDictionary& message) {
  const PlistValue* data = message.find("data");
  const PlistArray* list = data == nullptr ? nullptr : data->array();
  if (list == nullptr || list->empty()) return refusal(kNothingToPlay);
  const std::int64_t position = wholeNumber(message.find("currentPosition")).value_or(-1);
  PlistArray songs;
  std::optional<std::size_t> start;
  for (std::size_t i = 0; i < list->size(); ++i) {
    const PlistDictionary* song = list->at(i)->dictionary();
    if (song == nullptr || song->empty()) continue;
    if (position == static_cast<std::int64_t>(i)) start = songs.size();
    songs.append(*song);
  }
  if (!start) return refusal("That song is not in the list.");
  state_.player.load(std::move(songs), *start);
  state_.player.play();
  return success();
}

PlistDictionary Requests::playRadio(const PlistDictionary& message) {
  const PlistValue* data = message.find("dataSource");
  const PlistDictionary* station = data == nullptr ? nullptr : data->dictionary();
  if (station == nullptr || textOf(*station, "title").empty())
    return refusal("That station is not on the air.");
  state_.player.load(stationSongs(*station), 0, Player::AtEnd::startOver);
  state_.player.play();
  return success();
}

PlistDictionary Requests::playMedia(const PlistDictionary& message) {
  const bool offersChart = wholeNumber(message.find("weekly_top_15")).value_or(0) != 0;
  if (state_.player.song() == nullptr && offersChart) state_.player.load(chartSongs(state_.language), 0);
  return withQueue(&Player::play);
}

PlistDictionary Requests::volume(const PlistDictionary& message) {
  const PlistValue* level = message.find("level");
  const std::optional<double> part = level == nullptr ? std::nullopt : level->number();
  // Written so that what is no number at all is refused too.
  if (!part || !(*part >= 0 && *part <= 1)) return refusal("There is no such volume.");
  state_.player.setVolume(static_cast<int>(std::lround(*part * kLoudest)));
  pushes_.watchChangedVolume();
  return success();
}

}  // namespace tunevale::phone
