#include "host/WatchFace.h"

namespace tunevale::host {

void WatchFace::setShown(bool shown) {
  if (shown == (answers_ != nullptr)) return;
  answers_.reset();
  if (!shown) return;
  answers_ = std::make_shared<Answers>();
  // Answers to a face that is gone go nowhere.
  const auto set = [weak = std::weak_ptr<Answers>(answers_), this](auto field, auto value) {
    const auto answers = weak.lock();
    if (!answers) return;
    (*answers).*field = std::move(value);
    didChange_();
  };
  const CLKComplication complication{"modular"};
  source_.getSupportedTimeTravelDirectionsForComplication(
      complication, [set](unsigned directions) { set(&Answers::directions, directions); });
  source_.getPrivacyBehaviorForComplication(
      complication, [set](CLKComplicationPrivacyBehavior privacy) { set(&Answers::privacy, privacy); });
  source_.getCurrentTimelineEntryForComplication(
      complication, [set](const std::optional<CLKComplicationTimelineEntry>& entry) {
        set(&Answers::entry, entry ? std::optional(entry->content.text()) : std::nullopt);
      });
}

}  // namespace tunevale::host
