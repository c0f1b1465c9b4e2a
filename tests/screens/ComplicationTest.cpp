#include <gtest/gtest.h>

#include "complication/ComplicationController.h"

namespace tunevale {
namespace {

TEST(Complication, AnswersEveryQueryAtOnceOnceAndWithNothing) {
  ComplicationController source;
  const CLKComplication place{"modular"};
  int answers = 0;
  const auto nothing = [&](const auto& answer) { answers += answer ? 100 : 1; };
  source.getTimelineStartDateForComplication(place, nothing);
  source.getTimelineEndDateForComplication(place, nothing);
  source.getCurrentTimelineEntryForComplication(place, nothing);
  source.getTimelineEntriesForComplicationBeforeDate(place, {}, 9, nothing);
  source.getTimelineEntriesForComplicationAfterDate(place, {}, 9, nothing);
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
