#include <gtest/gtest.h>

#include "complication/ComplicationController.h"

namespace tunevale {
namespace {

TEST(Complication, AnswersEveryQueryAtOnceOnceAndWithNothing) {
  ComplicationController controller;
  CLKComplicationDataSource& source = controller;
  const CLKComplication place{"modular"};
  const CLKComplicationDataSource::Date now{};
  int answers = 0;
  const auto nothing = [&answers](const auto& answer) {
    ++answers;
    EXPECT_FALSE(answer);
  };
  source.getTimelineStartDateForComplication(place, nothing);
  source.getTimelineEndDateForComplication(place, nothing);
  source.getCurrentTimelineEntryForComplication(place, nothing);
  source.getTimelineEntriesForComplicationBeforeDate(place, now, 9, nothing);
  source.getTimelineEntriesForComplicationAfterDate(place, now, 9, nothing);
  source.getLocalizableSampleTemplateForComplication(place, nothing);
  EXPECT_EQ(answers, 6);
  source.getSupportedTimeTravelDirectionsForComplication(
      place, [&](unsigned bits) { answers += 10 * static_cast<int>(bits); });
  source.getPrivacyBehaviorForComplication(
      place, [&](auto privacy) { answers += 100 + 1000 * static_cast<int>(privacy); });
  EXPECT_EQ(answers, 136);
}

}  // namespace
}  // namespace tunevale
