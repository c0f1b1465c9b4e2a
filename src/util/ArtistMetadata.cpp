#include "util/ArtistMetadata.h"

#include "foundation/Text.h"
#include "platform/ShownText.h"
#include "util/TextCleaning.h"
#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

namespace {

/// What the catalogue writes where it has no artist.
constexpr std::string_view kNoArtist = "NULL";

/// Names that come after so many bytes of others, blanks included, are left out: a small payload may refer to
/// one long name a million times over, and nobody reads a line that long.
constexpr std::size_t kLongestNames = 16384;

const PlistValue* artistMap(const PlistValue* song) {
  return valueForKey(valueForKey(song, "more_info"), "artistMap");
}

std::optional<PlistArray> artistsUnder(std::string_view key, const PlistValue* song) {
  const PlistArray& artists = arrayOrEmpty(valueForKey(artistMap(song), key));
  return artists.empty() ? std::nullopt : std::optional(artists);
}

std::string namesUnder(std::string_view key, const PlistValue* song) {
  return getArtistStringFromArtistMap(arrayOrEmpty(valueForKey(artistMap(song), key)));
}

std::vector<std::string> namesInRole(std::string_view role, const PlistValue* song) {
  std::vector<std::string> names;
  std::size_t length = 0;
  for (const PlistValue& artist : getArtistsForSong(song).value_or(PlistArray())) {
    const std::string_view name = stringOrEmpty(valueForKey(&artist, "name"));
    if (name.empty() || stringOrEmpty(valueForKey(&artist, "role")) != role) continue;
    names.emplace_back(name);
    if ((length += name.size()) >= kLongestNames) break;
  }
  return names;
}

}  // namespace

PlistDictionary getArtistMapForSong(const PlistValue* song) {
  return dictionaryOrEmpty(artistMap(song));
}

std::optional<PlistArray> getArtistsForSong(const PlistValue* song) {
  PlistArray kept;
  for (const PlistValue& artist : arrayOrEmpty(valueForKey(artistMap(song), "artists"))) {
    if (artist.dictionary() == nullptr) continue;
    if (stringOrEmpty(valueForKey(&artist, "id")) == kNoArtist) continue;
    if (stringOrEmpty(valueForKey(&artist, "name")) == kNoArtist) continue;
    kept.append(artist);
  }
  return kept.empty() ? std::nullopt : std::optional(kept);
}

std::optional<PlistArray> getPrimaryArtistsForSong(const PlistValue* song) {
  return artistsUnder("primary_artists", song);
}

std::optional<PlistArray> getFeaturedArtistsForSong(const PlistValue* song) {
  return artistsUnder("featured_artists", song);
}

std::string getPrimaryArtistNamesForSong(const PlistValue* song) {
  return namesUnder("primary_artists", song);
}

std::string getFeaturedArtistNamesForSong(const PlistValue* song) {
  return namesUnder("featured_artists", song);
}

std::string getArtistStringFromArtistMap(const PlistArray& artists) {
  std::string text;
  std::size_t length = 0;
  for (const PlistValue& artist : artists) {
    const PlistValue* received = valueForKey(&artist, "name");
    const std::string name = trimWhitespace(received);
    if (!name.empty()) text += (text.empty() ? "" : ", ") + name;
    if ((length += stringOrEmpty(received).size()) >= kLongestNames) break;
  }
  return text;
}

std::string getArtistStringFromArray(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) text += (i == 0 ? "" : ", ") + names[i];
  return std::string(trimmed(text, isBlank));
}

std::vector<std::string> getActorsForSongInArray(const PlistValue* song) {
  return namesInRole("starring", song);
}

std::vector<std::string> getSingersForSongInArray(const PlistValue* song) {
  return namesInRole("singer", song);
}

std::vector<std::string> getMusicDirectorsForSongInArray(const PlistValue* song) {
  return namesInRole("music", song);
}

std::string getActorsForSong(const PlistValue* song) {
  return getArtistStringFromArray(getActorsForSongInArray(song));
}

std::string getSingersForSong(const PlistValue* song) {
  return getArtistStringFromArray(getSingersForSongInArray(song));
}

std::string getMusicDirectorsForSong(const PlistValue* song) {
  return getArtistStringFromArray(getMusicDirectorsForSongInArray(song));
}

std::string getBestArtist(const PlistValue* song, bool withHyphen) {
  // Albums may hold albums as deep as the phone likes, so this descends in a loop.
  for (;;) {
    std::string names = getPrimaryArtistNamesForSong(song);
    if (names.empty()) names = getFeaturedArtistNamesForSong(song);
    if (names.empty()) {
      const PlistValue* first = arrayOrEmpty(valueForKey(song, "list")).at(0);
      if (isNonEmptyDictionary(first)) {
        song = first;
        continue;
      }
      names = getSingersForSong(song);
    }
    if (names.empty()) return "";
    return (withHyphen ? " \u2013 " : "") + convertHTMLEntities(shownText(names, kLongestNames));
  }
}

}  // namespace tunevale::WatchUtil
