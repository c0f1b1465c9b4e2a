#pragma once

#include <cstdint>
#include <string>

#include "foundation/PlistValue.h"

/// What the catalogue's records of songs, episodes and albums say. Any value may be asked: what is no
/// dictionary has no fields. Pure, any thread.
namespace tunevale::WatchUtil {

/// "more_info", where most of a record's fields are; empty when there is none.
PlistDictionary getMoreInfo(const PlistValue* song);
/// "title"; "" when there is none.
std::string getNameForSong(const PlistValue* song);
std::string getNameForEpisode(const PlistValue* episode);
/// "album" or "show_title" of "more_info"; "" when there is none.
std::string getAlbumForSong(const PlistValue* song);
std::string getShowNameForEpisode(const PlistValue* episode);
/// The songs of an album record, "list"; empty when there are none.
PlistArray getSongsForAlbum(const PlistValue* album);

/// "season_number" of "more_info": a string by its leading digits, a number without its fraction, either kept
/// within 32 bits. 1 when there is none.
std::int32_t getSeasonNumberForEpisode(const PlistValue* episode);
/// The season's title, of "more_info" or, without that, of the record itself, or else "Season " and its
/// number; "" for an empty record. With the hyphen, " – " precedes all but "".
std::string getSeasonNameForEpisode(const PlistValue* episode, bool withHyphen);

}  // namespace tunevale::WatchUtil
