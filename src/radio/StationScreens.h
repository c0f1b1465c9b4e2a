#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/PlistValue.h"
#include "platform/Color.h"

// What the two station screens have in common. Pure, any thread.
namespace tunevale {

class LetterCase;

/// The kind of a list of stations, as numbers because the screens keep it so.
inline constexpr std::int32_t kFeaturedStations = 0;
inline constexpr std::int32_t kArtistStations = 1;

/// The kind that a screen's context names under "type": artist for "artist", featured for all else.
std::int32_t stationTypeOf(const PlistValue* context);
/// The word for a kind in contexts and requests.
const char* stationTypeName(std::int32_t type);

/// A station's title or language as it is shown: capitalised; "" for what is no string.
std::string capitalizedField(LetterCase& letterCase, const PlistValue* field);

/// A station's colour; black when it has none.
Color stationColor(const PlistValue* station, float alpha);

/// The request that has the phone play a station; nothing for what is no station record. An artist station
/// goes without the null entries of its "more_info", a featured one exactly as it came.
std::optional<PlistDictionary> playRadioRequest(const PlistValue* station, std::int32_t type);

}  // namespace tunevale
