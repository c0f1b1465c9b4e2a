#include <limits>

#include <gtest/gtest.h>

#include "util/SongMetadata.h"
#include "util/WrongKinds.h"

namespace tunevale {
namespace {

using namespace WatchUtil;

PlistValue withInfo(PlistValue moreInfo) {
  return PlistDictionary{{"more_info", std::move(moreInfo)}};
}

TEST(SongMetadata, ReadsWhereTheFieldsAre) {
  const PlistValue record(PlistDictionary{
      {"title", " Name "},
      {"album", "not here"},
      {"show_title", "not here"},
      {"list", PlistArray{1}},
      {"more_info", PlistDictionary{{"title", "not here"}, {"album", "Album"}, {"show_title", "Show"}}}});
  EXPECT_EQ(getNameForSong(&record), " Name ");
  EXPECT_EQ(getNameForEpisode(&record), " Name ");
  EXPECT_EQ(getAlbumForSong(&record), "Album");
  EXPECT_EQ(getShowNameForEpisode(&record), "Show");
  EXPECT_EQ(getSongsForAlbum(&record), PlistArray{1});
  EXPECT_EQ(getMoreInfo(&record).size(), 3U);
}

TEST(SongMetadata, SurvivesEveryKindAtEveryDepth) {
  for (const PlistValue& odd : test::oneOfEachKind()) {
    const PlistValue records[] = {
        odd, withInfo(odd),
        PlistDictionary{{"title", odd},
                        {"list", odd},
                        {"more_info", PlistDictionary{{"album", odd}, {"show_title", odd}}}}};
    for (const PlistValue& record : records) {
      // What a string says is passed on; every other kind says nothing.
      const std::string said(odd.string().value_or(""));
      for (const std::string& text : {getNameForSong(&record), getNameForEpisode(&record),
                                      getAlbumForSong(&record), getShowNameForEpisode(&record)}) {
        EXPECT_TRUE(text.empty() || text == said) << text;
      }
      EXPECT_TRUE(getSongsForAlbum(&record).empty() || odd.array() != nullptr);
    }
  }
  EXPECT_EQ(getNameForSong(nullptr) + getAlbumForSong(nullptr) + getShowNameForEpisode(nullptr), "");
  EXPECT_EQ(getSeasonNameForEpisode(nullptr, true), "");
}

TEST(SeasonNumber, ReadsStringsAndNumbersOfAnySize) {
  using Limits = std::numeric_limits<std::int32_t>;
  struct Case {
    PlistValue season;
    std::int32_t number;
  };
  const Case cases[] = {
      {"03", 3},
      {"abc", 0},
      {" -4th", -4},
      {"", 1},
      {2, 2},
      {-7, -7},
      {2.9, 2},
      {-2.9, -2},
      {true, 1},
      {false, 0},
      {"99999999999999999999", Limits::max()},
      {std::int64_t{1} << 40, Limits::max()},
      {-1e300, Limits::min()},
      {std::numeric_limits<double>::infinity(), Limits::max()},
      {std::numeric_limits<double>::quiet_NaN(), 0},
      {PlistValue(), 1},
      {PlistArray{2}, 1},
  };
  for (const Case& c : cases) {
    const PlistValue episode = withInfo(PlistDictionary{{"season_number", c.season}});
    EXPECT_EQ(getSeasonNumberForEpisode(&episode), c.number);
  }
  const PlistValue topLevel(PlistDictionary{{"season_number", 5}});
  EXPECT_EQ(getSeasonNumberForEpisode(&topLevel), 1);
  EXPECT_EQ(getSeasonNumberForEpisode(nullptr), 1);
}

TEST(SeasonName, PrefersTheTitleAndFallsBackToTheRecordItself) {
  struct Case {
    PlistValue episode;
    const char* name;
  };
  const Case cases[] = {
      {withInfo(PlistDictionary{{"season_number", "2"}}), "Season 2"},
      {withInfo(PlistDictionary{{"season_number", 2}}), "Season 2"},
      {withInfo(PlistDictionary{{"season_title", "Finale"}, {"season_number", 2}}), "Finale"},
      {withInfo(PlistDictionary{{"season_title", ""}}), "Season 1"},
      {PlistDictionary{{"season_title", "S1"}}, "S1"},
      {PlistDictionary{{"season_title", "S1"}, {"more_info", ""}}, "S1"},
      {PlistDictionary{{"season_title", "S1"}, {"more_info", PlistDictionary{{"a", 1}}}}, "Season 1"},
      {PlistDictionary{{"season_number", 5}}, "Season 1"},
      {PlistDictionary(), ""},
      {"episode", ""},
  };
  for (const Case& c : cases) {
    const std::string name = c.name;
    EXPECT_EQ(getSeasonNameForEpisode(&c.episode, false), name);
    EXPECT_EQ(getSeasonNameForEpisode(&c.episode, true), name.empty() ? "" : " \xE2\x80\x93 " + name);
  }
}

}  // namespace
}  // namespace tunevale
