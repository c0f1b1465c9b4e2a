#include "complication/ComplicationController.h"

namespace tunevale {

void ComplicationController::getSupportedTimeTravelDirectionsForComplication(
    const CLKComplication&, const Handler<unsigned>& handler) {
  handler(kTimeTravelForward | kTimeTravelBackward);
}

void ComplicationController::getTimelineStartDateForComplication(
    const CLKComplication&, const Handler<std::optional<Date>>& handler) {
  handler(std::nullopt);
}

void ComplicationController::getTimelineEndDateForComplication(const CLKComplication&,
                                                               const Handler<std::optional<Date>>& handler) {
  handler(std::nullopt);
}

void ComplicationController::getPrivacyBehaviorForComplication(
    const CLKComplication&, const Handler<CLKComplicationPrivacyBehavior>& handler) {
  handler(CLKComplicationPrivacyBehavior::showOnLockScreen);
}

void ComplicationController::getCurrentTimelineEntryForComplication(
    const CLKComplication&, const Handler<std::optional<Entry>>& handler) {
  handler(std::nullopt);
}

void ComplicationController::getTimelineEntriesForComplicationBeforeDate(
    const CLKComplication&, Date, std::size_t, const Handler<std::optional<std::vector<Entry>>>& handler) {
  handler(std::nullopt);
}

void ComplicationController::getTimelineEntriesForComplicationAfterDate(
    const CLKComplication&, Date, std::size_t, const Handler<std::optional<std::vector<Entry>>>& handler) {
  handler(std::nullopt);
}

void ComplicationController::getLocalizableSampleTemplateForComplication(
    const CLKComplication&, const Handler<std::optional<CLKComplicationTemplate>>& handler) {
  handler(std::nullopt);
}

}  // namespace tunevale
