#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/PlistValue.h"

/// Who made a song: "artistMap" of its "more_info". Any value may be asked; elements of a wrong kind are
/// passed over, joined or listed names stop after 16 KiB, and the artist line is no longer. Pure, any thread.
namespace tunevale::WatchUtil {

PlistDictionary getArtistMapForSong(const PlistValue* song);

/// Every credited person, without those whose "id" or "name" is the literal "NULL"; nothing when none is
/// left.
std::optional<PlistArray> getArtistsForSong(const PlistValue* song);
/// The arrays as they stand; nothing when they are empty or missing.
std::optional<PlistArray> getPrimaryArtistsForSong(const PlistValue* song);
std::optional<PlistArray> getFeaturedArtistsForSong(const PlistValue* song);
/// Their names, joined; "" when there are none.
std::string getPrimaryArtistNamesForSong(const PlistValue* song);
std::string getFeaturedArtistNamesForSong(const PlistValue* song);

/// The trimmed names of artist records, joined by ", "; nameless ones are passed over, repeated ones kept.
std::string getArtistStringFromArtistMap(const PlistArray& artists);
/// Names joined by ", ", without the blanks at both ends.
std::string getArtistStringFromArray(const std::vector<std::string>& names);

/// The names of getArtistsForSong() whose "role" is exactly "starring", "singer" or "music".
std::vector<std::string> getActorsForSongInArray(const PlistValue* song);
std::vector<std::string> getSingersForSongInArray(const PlistValue* song);
std::vector<std::string> getMusicDirectorsForSongInArray(const PlistValue* song);
std::string getActorsForSong(const PlistValue* song);
std::string getSingersForSong(const PlistValue* song);
std::string getMusicDirectorsForSong(const PlistValue* song);

/// The one artist line under a title, entities converted: primary artists, else featured ones, else whatever
/// the first song of an album has, else singers. With the hyphen, " – " precedes all but "".
std::string getBestArtist(const PlistValue* song, bool withHyphen);

}  // namespace tunevale::WatchUtil
