#include "phone/CatalogueRows.h"

namespace tunevale::phone {

namespace {

constexpr StationRow kFeatured[] = {
    {"morning raga", "hindi", "#E8833A"},       {"Night Drive", "english", "#2E4A8F"},
    {"Monsoon Balcony", "hindi", "#3C7A6B"},    {"Filter Kaapi Mix", "tamil", "#8A4B2D"},
    {"Sunday Cleaning", "english", "#C94F7C"},  {"Old Valve Radio", "hindi", "#A0762B"},
    {"Beach Road 6 AM", "tamil", "#2A8FA8"},    {"Slow Kitchen", "english", "#6B8E3A"},
    {"Rooftop Ghazals", "hindi", "#6A3D8F"},    {"Temple Street Brass", "tamil", "#B3392F"},
    {"Deep Work & Rain", "english", "#3B4E5E"}, {"Wedding Week", "hindi", "#D1436B"},
};

// Nobody gave some of these a colour or a language: the record then has a null.
constexpr StationRow kArtist[] = {
    {"Mirelle Vantine", "english", "#7A5BA6"},
    {"Ishvani Velkar", "hindi", ""},
    {"Yazhvendhan Karuvoor", "tamil", "#2F7F86"},
    {"Echo Parallax", "english", ""},
    {"Kabiran Zohri", "hindi", "#95562F"},
    {"Nilamozhi Venkuzhal", "tamil", ""},
    {"Wren Tolliver", "", "#4C7D4A"},
    {"Farhaad Quresini", "hindi", ""},
    {"Thooriga Maaran", "", ""},
    {"The Quillon Tides", "english", "#30609B"},
    {"Devakshi Thomrey", "hindi", "#A8436A"},
    {"Adhiran Mullaivel", "tamil", ""},
};

}  // namespace

std::span<const StationRow> featuredStations() {
  return kFeatured;
}

std::span<const StationRow> artistStations() {
  return kArtist;
}

}  // namespace tunevale::phone
