#include <set>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "link/LinkLimits.h"
#include "phone/Catalogue.h"
#include "phone/PhoneState.h"

namespace tunevale::phone {
namespace {

bool anyByteFrom(std::string_view text, std::string_view lead) {
  return text.find(lead) != std::string_view::npos;
}

TEST(CatalogueTest, EachLanguageHasFifteenRealisticSongs) {
  std::set<std::string> ids;
  for (const std::string_view language : catalogueLanguages()) {
    std::set<std::string> roles;
    int entities = 0;
    int placeholders = 0;
    int inOwnScript = 0;
    const PlistArray songs = chartSongs(language);
    ASSERT_EQ(songs.size(), 15u);
    for (const PlistValue& value : songs) {
      const PlistDictionary& song = *value.dictionary();
      EXPECT_TRUE(ids.emplace(textOf(song, "id")).second);
      EXPECT_EQ(textOf(song, "language"), language);
      const std::string_view title = textOf(song, "title");
      EXPECT_FALSE(title.empty());
      entities += anyByteFrom(title, "&") ? 1 : 0;
      // Devanagari begins with E0 A4 or E0 A5 in UTF-8, Tamil with E0 AE or E0 AF.
      inOwnScript += anyByteFrom(title, language == "tamil" ? "\xE0\xAE" : "\xE0\xA4") ? 1 : 0;
      const PlistDictionary& moreInfo = *song.find("more_info")->dictionary();
      EXPECT_FALSE(textOf(moreInfo, "album").empty());
      const PlistDictionary& map = *moreInfo.find("artistMap")->dictionary();
      for (const char* kind : {"primary_artists", "featured_artists", "artists"}) {
        for (const PlistValue& artist : *map.find(kind)->array()) {
          const bool placeholder = textOf(*artist.dictionary(), "name") == "NULL";
          EXPECT_EQ(placeholder, textOf(*artist.dictionary(), "id") == "NULL");
          placeholders += placeholder ? 1 : 0;
          roles.emplace(textOf(*artist.dictionary(), "role"));
        }
      }
    }
    EXPECT_GE(entities, 2);
    EXPECT_GE(placeholders, 2);
    if (language != "english") {
      EXPECT_GE(inOwnScript, 10);
    }
    for (const char* role : {"starring", "singer", "music"}) EXPECT_TRUE(roles.contains(role)) << role;
    EXPECT_LE(writePropertyList(PlistDictionary{{"data", songs}}).size(), link::kMostMessage);
    EXPECT_LE(archivedDataWithRootObject(chartRecord(language)).size(), link::kMostMessageData / 8);
  }
  EXPECT_TRUE(chartSongs("klingon").empty());
}

TEST(CatalogueTest, StationsOfBothKindsHaveNamesOfTheirOwnAndArtistsLackSomeFields) {
  const PlistDictionary lists = stationLists();
  std::set<std::string> titles;
  for (const char* kind : {"featured", "artist"}) {
    int nulls = 0;
    ASSERT_EQ(lists.find(kind)->array()->size(), 12u);
    for (const PlistValue& station : *lists.find(kind)->array()) {
      EXPECT_TRUE(titles.emplace(textOf(*station.dictionary(), "title")).second);
      const PlistDictionary& moreInfo = *station.dictionary()->find("more_info")->dictionary();
      for (const auto& entry : moreInfo) nulls += entry.value.isNull() ? 1 : 0;
      EXPECT_EQ(stationSongs(*station.dictionary()).size(), 10u);
    }
    EXPECT_EQ(nulls > 0, std::string_view(kind) == "artist");
  }
  EXPECT_EQ(stationSongs({{"title", "unheard of"}}).size(), 10u);
  EXPECT_EQ(stationSongs({}).size(), 10u);
}

}  // namespace
}  // namespace tunevale::phone
