#include "phone/Catalogue.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Text.h"
#include "phone/CatalogueRows.h"

namespace tunevale::phone {

namespace {

constexpr std::array<std::string_view, 3> kLanguages = {"english", "hindi", "tamil"};
constexpr std::size_t kStationSongs = 10;

std::span<const SongRow> rowsOf(std::string_view language) {
  if (language == "english") return englishSongs();
  if (language == "hindi") return hindiSongs();
  if (language == "tamil") return tamilSongs();
  return {};
}

std::vector<std::string_view> names(std::string_view joined) {
  constexpr std::string_view kSeparator = ", ";
  std::vector<std::string_view> found;
  while (!joined.empty()) {
    const std::size_t end = joined.find(kSeparator);
    found.push_back(joined.substr(0, end));
    joined = end == std::string_view::npos ? std::string_view() : joined.substr(end + kSeparator.size());
  }
  return found;
}

/// An artist's id is made of the letters of the name, so that one person has one id everywhere.
std::string artistId(std::string_view name) {
  if (name == "NULL") return "NULL";
  std::string id = "a-";
  for (const char c : name) {
    if (c >= 'a' && c <= 'z') id += c;
  }
  return id;
}

void appendArtists(PlistArray& artists, std::string_view joined, std::string_view role) {
  for (const std::string_view name : names(joined)) {
    PlistDictionary artist{{"id", artistId(name)}, {"name", name}, {"type", "artist"}};
    artist.set("role", role);
    artists.append(std::move(artist));
  }
}

PlistDictionary artistMap(const SongRow& row) {
  PlistArray primary;
  PlistArray featured;
  PlistArray everybody;
  appendArtists(primary, row.primary, "primary_artists");
  appendArtists(featured, row.featured, "featured_artists");
  appendArtists(everybody, row.starring, "starring");
  appendArtists(everybody, row.singers, "singer");
  appendArtists(everybody, row.music, "music");
  return {{"primary_artists", primary}, {"featured_artists", featured}, {"artists", everybody}};
}

PlistDictionary songRecord(const SongRow& row, std::string_view language) {
  return {{"id", row.id},
          {"title", row.title},
          {"type", "song"},
          {"image", "tunevale:artwork/" + std::string(row.id)},
          {"language", language},
          {"more_info", PlistDictionary{{"album", row.album},
                                        {"duration", std::to_string(row.seconds)},
                                        {"artistMap", artistMap(row)}}}};
}

PlistValue plistTextOrNull(std::string_view text) {
  return text.empty() ? PlistValue() : PlistValue(text);
}

PlistArray stationRecords(std::span<const StationRow> rows, std::string_view kind) {
  PlistArray stations;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const StationRow& row = rows[i];
    PlistDictionary moreInfo{{"color", plistTextOrNull(row.color)},
                             {"language", plistTextOrNull(row.language)},
                             {"station_display_text", row.title}};
    moreInfo.set(kind == "artist" ? "artistid" : "featured_station_type",
                 kind == "artist" ? PlistValue(artistId(row.title)) : PlistValue("featured"));
    stations.append(PlistDictionary{{"id", std::string(kind) + "-station-" + std::to_string(i + 1)},
                                    {"title", row.title},
                                    {"type", "radio_station"},
                                    {"image", "tunevale:artwork/" + std::string(row.title)},
                                    {"more_info", std::move(moreInfo)}});
  }
  return stations;
}

std::string_view textAt(const PlistDictionary& record, std::string_view key) {
  const PlistValue* value = record.find(key);
  return value == nullptr ? std::string_view() : value->string().value_or("");
}

}  // namespace

std::span<const std::string_view> catalogueLanguages() {
  return kLanguages;
}

bool isCatalogueLanguage(std::string_view language) {
  return std::find(kLanguages.begin(), kLanguages.end(), language) != kLanguages.end();
}

PlistArray chartSongs(std::string_view language) {
  PlistArray songs;
  for (const SongRow& row : rowsOf(language)) songs.append(songRecord(row, language));
  return songs;
}

PlistDictionary chartRecord(std::string_view language) {
  return {{"id", "chart-" + std::string(language)},
          {"title", "Weekly Top 15"},
          {"language", language},
          {"list", chartSongs(language)}};
}

PlistDictionary podcastEpisode() {
  return {{"id", "pod001"},
          {"title", "The Clock That Ran on Gossip &amp; Other Machines"},
          {"type", "episode"},
          {"image", "tunevale:artwork/pod001"},
          {"language", "english"},
          {"more_info", PlistDictionary{{"show_title", "Unlikely Workshops"},
                                        {"season_number", "2"},
                                        {"season_title", "Season Two: Small Towns"},
                                        {"episode_number", "7"},
                                        {"duration", "1843"}}}};
}

PlistDictionary stationLists() {
  return {{"featured", stationRecords(featuredStations(), "featured")},
          {"artist", stationRecords(artistStations(), "artist")}};
}

PlistArray stationSongs(const PlistDictionary& station) {
  const PlistValue* moreInfo = station.find("more_info");
  const PlistDictionary* details = moreInfo == nullptr ? nullptr : moreInfo->dictionary();
  std::string_view language = details == nullptr ? std::string_view() : textAt(*details, "language");
  if (!isCatalogueLanguage(language))
    language = kLanguages[textAt(station, "title").size() % kLanguages.size()];
  const PlistArray all = chartSongs(language);
  // Each station starts elsewhere in its language's songs.
  std::size_t start = 0;
  for (const char c : textAt(station, "title")) start = start * 31 + static_cast<unsigned char>(c);
  PlistArray songs;
  for (std::size_t i = 0; i < kStationSongs; ++i) songs.append(*all.at((start + i) % all.size()));
  return songs;
}

std::string plainText(std::string_view catalogueText) {
  std::string text(catalogueText);
  constexpr std::pair<std::string_view, std::string_view> kEntities[] = {
      {"&quot;", "\""}, {"&#039;", "'"}, {"&#39;", "'"}, {"&ndash;", "\u2013"},
      {"&lt;", "<"},    {"&gt;", ">"},   {"&amp;", "&"}};
  for (const auto& [entity, character] : kEntities) text = replacingAll(text, entity, character);
  return text;
}

}  // namespace tunevale::phone
