#include <limits>

#include <gtest/gtest.h>

#include "util/ArtistMetadata.h"
#include "util/SongMetadata.h"

namespace tunevale {
namespace {

using namespace WatchUtil;
using Names = std::vector<std::string>;

PlistValue withInfo(PlistValue moreInfo) {
  return PlistDictionary{{"more_info", std::move(moreInfo)}};
}

PlistValue songWith(PlistDictionary artistMap) {
  return withInfo(PlistDictionary{{"artistMap", std::move(artistMap)}});
}

PlistDictionary artist(const char* name, const char* role = "") {
  return {{"name", name}, {"role", role}};
}

TEST(Artists, DropPlaceholdersOnlyWhereTheListIsNotRaw) {
  const PlistDictionary nameless{{"role", "singer"}};
  const PlistDictionary numbered{{"id", 7}, {"name", "B"}};
  const PlistDictionary lower{{"id", "null"}, {"name", "Null"}};
  const PlistDictionary noId{{"id", "NULL"}, {"name", "A"}};
  const PlistArray placeholders{noId, artist("NULL"), "NULL", 3};
  const PlistValue song =
      songWith({{"artists", PlistArray{nameless, noId, artist("NULL"), numbered, "NULL", 3, lower}},
                {"primary_artists", placeholders},
                {"featured_artists", PlistArray()}});
  EXPECT_EQ(getArtistsForSong(&song), (PlistArray{nameless, numbered, lower}));
  EXPECT_EQ(getPrimaryArtistsForSong(&song), placeholders);
  EXPECT_EQ(getPrimaryArtistNamesForSong(&song), "A, NULL");
  EXPECT_EQ(getFeaturedArtistsForSong(&song), std::nullopt);
  EXPECT_EQ(getFeaturedArtistNamesForSong(&song), "");
  const PlistValue none = songWith({{"artists", PlistArray{noId}}});
  EXPECT_EQ(getArtistsForSong(&none), std::nullopt);
}

TEST(Artists, NamesAreTrimmedJoinedKeptTwiceAndOfAnExactRole) {
  EXPECT_EQ(getArtistStringFromArtistMap({artist(" A "), artist(""), artist("B"), artist("\n"), artist("A"),
                                          PlistDictionary{{"name", 4}}, "C"}),
            "A, B, A");
  EXPECT_EQ(getArtistStringFromArray({" a", "", "b\n "}), "a, , b\n");
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
  // An album in an album goes as deep as the phone likes.
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

TEST(SeasonNumber, ReadsStringsAndNumbersOfAnySize) {
  using Limits = std::numeric_limits<std::int32_t>;
  using Reals = std::numeric_limits<double>;
  const std::pair<std::int32_t, std::vector<PlistValue>> cases[] = {
      {3, {"03", "+3"}},
      {-4, {" -4th"}},
      {-7, {-7}},
      {2, {2.9}},
      {0, {Reals::quiet_NaN()}},
      {1, {"", true, PlistValue(), PlistArray{2}}},
      {Limits::max(), {"99999999999999999999", std::int64_t{1} << 40, Reals::infinity()}},
      {Limits::min(), {-1e300}}};
  for (const auto& [number, seasons] : cases) {
    for (const PlistValue& season : seasons) {
      const PlistValue episode = withInfo(PlistDictionary{{"season_number", season}});
      EXPECT_EQ(getSeasonNumberForEpisode(&episode), number);
    }
  }
  const PlistValue topLevel(PlistDictionary{{"season_number", 5}});
  EXPECT_EQ(getSeasonNumberForEpisode(&topLevel), 1);
  EXPECT_EQ(getSeasonNumberForEpisode(nullptr), 1);
}

TEST(SeasonName, PrefersTheTitleAndFallsBackToTheRecordItself) {
  const std::pair<PlistValue, const char*> cases[] = {
      {withInfo(PlistDictionary{{"season_number", "2"}}), "Season 2"},
      {withInfo(PlistDictionary{{"season_title", "Finale"}, {"season_number", 2}}), "Finale"},
      {withInfo(PlistDictionary{{"season_title", ""}}), "Season 1"},
      {PlistDictionary{{"season_title", "S1"}}, "S1"},
      {PlistDictionary{{"season_title", "S1"}, {"more_info", ""}}, "S1"},
      {PlistDictionary{{"season_title", "S1"}, {"more_info", PlistDictionary{{"a", 1}}}}, "Season 1"},
      {PlistDictionary{{"season_number", 5}}, "Season 1"},
      {PlistDictionary(), ""},
      {"episode", ""},
  };
  for (const auto& [episode, expected] : cases) {
    const std::string name = expected;
    EXPECT_EQ(getSeasonNameForEpisode(&episode, false), name);
    EXPECT_EQ(getSeasonNameForEpisode(&episode, true), name.empty() ? "" : " \xE2\x80\x93 " + name);
  }
}

}  // namespace
}  // namespace tunevale
