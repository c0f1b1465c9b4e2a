#include <gtest/gtest.h>

#include "complication/ComplicationController.h"

namespace tunevale::test {
namespace {

template <class T>
auto keepIn(std::vector<T>& answers) {
  return [&answers](T answer) { answers.push_back(std::move(answer)); };
}

TEST(Complication, AnswersEveryQueryOnceAtOnceWithNothing) {
  using Source = CLKComplicationDataSource;
  ComplicationController controller;
  Source& source = controller;
  const CLKComplication place{"small"};
  const Source::Date now{};

  std::vector<unsigned> directions;
  source.getSupportedTimeTravelDirectionsForComplication(place, keepIn(directions));
  EXPECT_EQ(directions, std::vector<unsigned>{3});

  std::vector<std::optional<Source::Date>> dates;
  source.getTimelineStartDateForComplication(place, keepIn(dates));
  source.getTimelineEndDateForComplication(place, keepIn(dates));
  EXPECT_EQ(dates, decltype(dates)(2));

  std::vector<CLKComplicationPrivacyBehavior> privacy;
  source.getPrivacyBehaviorForComplication(place, keepIn(privacy));
  EXPECT_EQ(privacy, std::vector{CLKComplicationPrivacyBehavior::showOnLockScreen});

  int nothings = 0;
  const auto countNothing = [&](const auto& answer) { nothings += answer ? 100 : 1; };
  source.getCurrentTimelineEntryForComplication(place, countNothing);
  source.getTimelineEntriesForComplicationBeforeDate(place, now, 9, countNothing);
  source.getTimelineEntriesForComplicationAfterDate(place, now, 0, countNothing);
  source.getLocalizableSampleTemplateForComplication(place, countNothing);
  EXPECT_EQ(nothings, 4);
}

}  // namespace
}  // namespace tunevale::test
