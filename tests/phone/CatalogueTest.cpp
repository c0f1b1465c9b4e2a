#include <set>

#include <gtest/gtest.h>

#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "link/LinkLimits.h"
#include "phone/Catalogue.h"
#include "phone/PhoneState.h"

namespace tunevale::phone {
namespace {

// The watch shows other forms of names with entities, of placeholders and of scripts that are not Latin.
TEST(CatalogueTest, EachLanguageHasFifteenSongsThatAskSomethingOfTheWatch) {
  std::set<std::string> ids;
  for (const std::string_view language : catalogueLanguages()) {
    const PlistArray songs = chartSongs(language);
    ASSERT_EQ(songs.size(), 15u);
    for (const PlistValue& song : songs) {
      EXPECT_TRUE(ids.emplace(textOf(*song.dictionary(), "id")).second);
      EXPECT_EQ(textOf(*song.dictionary(), "language"), language);
    }
    const Bytes list = writePropertyList(PlistDictionary{{"data", songs}});
    for (const char* text : {"&", "NULL", "starring", "singer", "music"}) {
      EXPECT_NE(asText(list).find(text), std::string_view::npos) << language << " lacks " << text;
    }
    EXPECT_LE(list.size(), link::kMostMessage);
    EXPECT_LE(archivedDataWithRootObject(chartRecord(language)).size(), link::kMostMessageData / 8);
  }
  EXPECT_TRUE(chartSongs("klingon").empty());
}

TEST(CatalogueTest, StationsOfBothKindsHaveNamesAndSongsOfTheirOwn) {
  const PlistDictionary lists = stationLists();
  std::set<std::string> titles;
  for (const char* kind : {"featured", "artist"}) {
    ASSERT_EQ(lists.find(kind)->array()->size(), 12u);
    for (const PlistValue& station : *lists.find(kind)->array()) {
      EXPECT_TRUE(titles.emplace(textOf(*station.dictionary(), "title")).second);
      EXPECT_EQ(stationSongs(*station.dictionary()).size(), 10u);
    }
  }
  EXPECT_EQ(stationSongs({{"title", "unheard of"}}).size(), 10u);
  EXPECT_EQ(stationSongs({}).size(), 10u);
}

}  // namespace
}  // namespace tunevale::phone
