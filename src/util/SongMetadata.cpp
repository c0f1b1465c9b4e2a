#include "util/SongMetadata.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/Text.h"
#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

namespace {

const PlistValue* moreInfo(const PlistValue* record) {
  return valueForKey(record, "more_info");
}

std::string textIn(const PlistValue* record, std::string_view key) {
  return std::string(stringOrEmpty(valueForKey(record, key)));
}

template <class Number>
std::int32_t within32Bits(Number number) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<Number>(number, Number{Limits::min()}, Number{Limits::max()}));
}

}  // namespace

PlistDictionary getMoreInfo(const PlistValue* song) {
  return dictionaryOrEmpty(moreInfo(song));
}

std::string getNameForSong(const PlistValue* song) {
  return textIn(song, "title");
}

std::string getNameForEpisode(const PlistValue* episode) {
  return textIn(episode, "title");
}

std::string getAlbumForSong(const PlistValue* song) {
  return textIn(moreInfo(song), "album");
}

std::string getShowNameForEpisode(const PlistValue* episode) {
  return textIn(moreInfo(episode), "show_title");
}

PlistArray getSongsForAlbum(const PlistValue* album) {
  return arrayOrEmpty(valueForKey(album, "list"));
}

std::int32_t getSeasonNumberForEpisode(const PlistValue* episode) {
  const PlistValue* season = valueForKey(moreInfo(episode), "season_number");
  if (isNonEmptyString(season)) return within32Bits(integerValue(stringOrEmpty(season)));
  if (season == nullptr) return 1;
  if (const auto whole = season->integer()) return within32Bits(*whole);
  const auto number = season->number();
  if (!number) return 1;
  return std::isnan(*number) ? 0 : within32Bits(*number);
}

std::string getSeasonNameForEpisode(const PlistValue* episode, bool withHyphen) {
  const PlistValue* info = isNonEmptyDictionary(moreInfo(episode)) ? moreInfo(episode) : episode;
  if (!isNonEmptyDictionary(info)) return "";
  const std::string prefix = withHyphen ? " \u2013 " : "";
  const std::string title = textIn(info, "season_title");
  if (!title.empty()) return prefix + title;
  // The number counts in "more_info" only, also when the title was looked for in the record itself.
  return prefix + "Season " + std::to_string(getSeasonNumberForEpisode(episode));
}

}  // namespace tunevale::WatchUtil
