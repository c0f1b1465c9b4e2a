#include <gtest/gtest.h>

#include "complication/ComplicationController.h"

namespace tunevale::test {
namespace {

TEST(Complication, AnswersEveryQueryOnceAtOnceWithNothing) {
  ComplicationController controller;
  CLKComplicationDataSource& source = controller;
  const CLKComplication place{"small"};
  unsigned directions = 0;
  int privacies = 0;
  int nothings = 0;
  const auto nothing = [&](const auto& answer) { nothings += answer ? 100 : 1; };
  source.getSupportedTimeTravelDirectionsForComplication(place, [&](unsigned bits) { directions += bits; });
  source.getPrivacyBehaviorForComplication(place, [&](CLKComplicationPrivacyBehavior behavior) {
    privacies += behavior == CLKComplicationPrivacyBehavior::showOnLockScreen ? 1 : 100;
  });
  source.getTimelineStartDateForComplication(place, nothing);
  source.getTimelineEndDateForComplication(place, nothing);
  source.getCurrentTimelineEntryForComplication(place, nothing);
  source.getTimelineEntriesForComplicationBeforeDate(place, {}, 9, nothing);
  source.getTimelineEntriesForComplicationAfterDate(place, {}, 9, nothing);
  source.getLocalizableSampleTemplateForComplication(place, nothing);
  EXPECT_EQ(directions, 3U);
  EXPECT_EQ(privacies, 1);
  EXPECT_EQ(nothings, 6);
}

}  // namespace
}  // namespace tunevale::test
