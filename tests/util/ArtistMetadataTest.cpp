#include <gtest/gtest.h>

#include "util/ArtistMetadata.h"

namespace tunevale {
namespace {

using namespace WatchUtil;
using Names = std::vector<std::string>;

PlistValue songWith(PlistDictionary artistMap) {
  return PlistDictionary{{"more_info", PlistDictionary{{"artistMap", std::move(artistMap)}}}};
}

PlistDictionary artist(const char* name, const char* role = "") {
  return {{"name", name}, {"role", role}};
}

TEST(Artists, DropPlaceholdersOnly) {
  const PlistDictionary nameless{{"role", "singer"}};
  const PlistDictionary numbered{{"id", 7}, {"name", "B"}};
  const PlistDictionary lower{{"id", "null"}, {"name", "Null"}};
  const PlistValue song = songWith(
      {{"artists", PlistArray{nameless, PlistDictionary{{"id", "NULL"}, {"name", "A"}},
                              PlistDictionary{{"id", "7"}, {"name", "NULL"}}, numbered, "NULL", 3, lower}}});
  EXPECT_EQ(getArtistsForSong(&song), (PlistArray{nameless, numbered, lower}));
  const PlistValue none = songWith({{"artists", PlistArray{PlistDictionary{{"id", "NULL"}}}}});
  EXPECT_EQ(getArtistsForSong(&none), std::nullopt);
}

TEST(Artists, RawListsAreNotFiltered) {
  const PlistArray placeholders{artist("NULL"), 3};
  const PlistValue song = songWith({{"primary_artists", placeholders}, {"featured_artists", PlistArray()}});
  EXPECT_EQ(getPrimaryArtistsForSong(&song), placeholders);
  EXPECT_EQ(getPrimaryArtistNamesForSong(&song), "NULL");
  EXPECT_EQ(getFeaturedArtistsForSong(&song), std::nullopt);
  EXPECT_EQ(getFeaturedArtistNamesForSong(&song), "");
}

TEST(Artists, NamesAreTrimmedJoinedAndKeptTwice) {
  EXPECT_EQ(getArtistStringFromArtistMap({artist(" A "), artist(""), artist("B"), artist("\n"), artist("A"),
                                          PlistDictionary{{"name", 4}}, "C"}),
            "A, B, A");
  EXPECT_EQ(getArtistStringFromArray({" a", "", "b\n "}), "a, , b\n");
}

TEST(Artists, RolesAreExact) {
  const PlistValue song = songWith(
      {{"artists", PlistArray{artist("S1", "singer"), artist("Actor", "starring"), artist("M", "music"),
                              artist("S2", "singer"), artist("x", "Singer"), artist("", "singer"),
                              artist("NULL", "singer"), artist("w", "lyricist")}}});
  EXPECT_EQ(getSingersForSongInArray(&song), (Names{"S1", "S2"}));
  EXPECT_EQ(getSingersForSong(&song), "S1, S2");
  EXPECT_EQ(getActorsForSong(&song), "Actor");
  EXPECT_EQ(getMusicDirectorsForSong(&song), "M");
}

TEST(BestArtist, TakesTheFirstRuleThatYields) {
  const PlistArray primary{artist("A &amp; B")};
  const PlistArray featured{artist("F")};
  const PlistArray singers{artist("S", "singer"), artist("Actor", "starring")};
  const PlistValue featuredSong = songWith({{"featured_artists", featured}});
  const PlistDictionary singersMap{{"artistMap", PlistDictionary{{"artists", singers}}}};
  const std::pair<PlistValue, const char*> cases[] = {
      {songWith({{"primary_artists", primary}, {"featured_artists", featured}, {"artists", singers}}),
       "A & B"},
      {songWith({{"primary_artists", PlistArray{artist(" ")}}, {"featured_artists", featured}}), "F"},
      {songWith({{"artists", singers}}), "S"},
      {songWith({{"artists", PlistArray{artist("M", "music"), artist("Actor", "starring")}}}), ""},
      {PlistDictionary{{"list", PlistArray{featuredSong}}}, "F"},
      {PlistDictionary{{"list", PlistArray{PlistDictionary{{"list", PlistArray{featuredSong}}}}}}, "F"},
      // an album's own singers are not asked once its first song is, and are when that is empty or no record
      {PlistDictionary{{"list", PlistArray{PlistDictionary{{"title", "x"}}}}, {"more_info", singersMap}}, ""},
      {PlistDictionary{{"list", PlistArray{PlistDictionary(), featuredSong}}, {"more_info", singersMap}},
       "S"},
      {PlistDictionary{{"list", PlistArray{"x"}}, {"more_info", singersMap}}, "S"},
      {PlistDictionary{{"list", "x"}}, ""},
      {"song", ""},
      {PlistValue(), ""},
  };
  for (const auto& [song, artists] : cases) {
    const std::string expected = artists;
    EXPECT_EQ(getBestArtist(&song, false), expected);
    EXPECT_EQ(getBestArtist(&song, true), expected.empty() ? "" : " \xE2\x80\x93 " + expected);
  }
  EXPECT_EQ(getBestArtist(nullptr, true), "");
}

TEST(BestArtist, DescendsAsDeepAsThePhoneLikes) {
  PlistValue album = songWith({{"primary_artists", PlistArray{artist("deep")}}});
  for (int depth = 0; depth < 2'000; ++depth) album = PlistDictionary{{"list", PlistArray{album}}};
  EXPECT_EQ(getBestArtist(&album, false), "deep");
}

TEST(Artists, OneLongNameManyTimesOverStaysShort) {
  const PlistDictionary singer = artist(std::string(10'000, 'n').c_str(), "singer");
  PlistArray many;
  for (int i = 0; i < 100'000; ++i) many.append(singer);
  const PlistValue song = songWith({{"primary_artists", many}, {"artists", many}});
  EXPECT_LT(getPrimaryArtistNamesForSong(&song).size(), 30'000U);
  EXPECT_LT(getSingersForSong(&song).size(), 30'000U);
  const PlistValue endless =
      songWith({{"primary_artists", PlistArray{artist(std::string(900'000, 'n').c_str())}}});
  EXPECT_EQ(getBestArtist(&endless, false), std::string(16'384, 'n'));
  const PlistDictionary blank = artist(std::string(10'000, ' ').c_str());
  EXPECT_EQ(getArtistStringFromArtistMap({blank, blank, artist("x")}), "");  // nor is it read for ever
}

}  // namespace
}  // namespace tunevale
