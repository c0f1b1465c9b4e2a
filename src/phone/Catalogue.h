#pragma once

#include <span>
#include <string>
#include <string_view>

#include "foundation/PlistArray.h"
#include "foundation/PlistDictionary.h"

/// What this phone has to play: all invented. Pure; any thread.
namespace tunevale::phone {

/// "english", "hindi", "tamil".
std::span<const std::string_view> catalogueLanguages();
bool isCatalogueLanguage(std::string_view language);

/// The 15 songs of a language's chart; empty for a language that is none of ours.
PlistArray chartSongs(std::string_view language);
/// The chart as it is sent: {"list", "language", "title", "id"}.
PlistDictionary chartRecord(std::string_view language);

PlistDictionary podcastEpisode();

/// {"featured": 12 stations, "artist": 12 stations}. Artist stations have null entries, as phones send them.
PlistDictionary stationLists();
/// What a station plays: a handful of our songs, always the same ones for a title, those of its language
/// first.
PlistArray stationSongs(const PlistDictionary& station);

/// Catalogue text as a person reads it: the usual HTML entities undone, once.
std::string plainText(std::string_view catalogueText);

}  // namespace tunevale::phone
