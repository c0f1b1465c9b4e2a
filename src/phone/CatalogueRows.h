#pragma once

#include <span>
#include <string_view>

/// The catalogue as it is written down: one row a song or station. Names of several people are separated by
/// ", "; "NULL" is the placeholder that a careless catalogue leaves in.
namespace tunevale::phone {

struct SongRow {
  std::string_view id;
  std::string_view title;  // as sent: with entities where the catalogue has them
  std::string_view album;
  int seconds;
  std::string_view primary;
  std::string_view featured;
  std::string_view starring;
  std::string_view singers;
  std::string_view music;
};

struct StationRow {
  std::string_view title;     // as sent: watches show it as it comes, so there are no entities in it
  std::string_view language;  // empty: null in the record
  std::string_view color;     // hexadecimal; empty: null in the record
};

std::span<const SongRow> englishSongs();
std::span<const SongRow> hindiSongs();
std::span<const SongRow> tamilSongs();
std::span<const StationRow> featuredStations();
std::span<const StationRow> artistStations();

}  // namespace tunevale::phone
