#include <limits>

#include <gtest/gtest.h>

#include "util/SongMetadata.h"

namespace tunevale {
namespace {

using namespace WatchUtil;

PlistValue withInfo(PlistValue moreInfo) {
  return PlistDictionary{{"more_info", std::move(moreInfo)}};
}

TEST(SeasonNumber, ReadsStringsAndNumbersOfAnySize) {
  using Limits = std::numeric_limits<std::int32_t>;
  const std::pair<PlistValue, std::int32_t> cases[] = {
      {"03", 3},
      {" -4th", -4},
      {"", 1},
      {-7, -7},
      {2.9, 2},
      {true, 1},
      {"99999999999999999999", Limits::max()},
      {std::int64_t{1} << 40, Limits::max()},
      {-1e300, Limits::min()},
      {std::numeric_limits<double>::infinity(), Limits::max()},
      {std::numeric_limits<double>::quiet_NaN(), 0},
      {PlistValue(), 1},
      {PlistArray{2}, 1},
  };
  for (const auto& [season, number] : cases) {
    const PlistValue episode = withInfo(PlistDictionary{{"season_number", season}});
    EXPECT_EQ(getSeasonNumberForEpisode(&episode), number);
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
