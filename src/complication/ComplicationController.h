#pragma once

#include "platform/Complications.h"

namespace tunevale {

/// Gives the watch face nothing to show: every query is answered at once, once, and with nothing, except that
/// both time-travel directions are supported and that a locked screen may show it. Main queue.
class ComplicationController : public CLKComplicationDataSource {
 public:
  void getSupportedTimeTravelDirectionsForComplication(const CLKComplication& complication,
                                                       const Handler<unsigned>& handler) override;
  void getTimelineStartDateForComplication(const CLKComplication& complication,
                                           const Handler<std::optional<Date>>& handler) override;
  void getTimelineEndDateForComplication(const CLKComplication& complication,
                                         const Handler<std::optional<Date>>& handler) override;
  void getPrivacyBehaviorForComplication(const CLKComplication& complication,
                                         const Handler<CLKComplicationPrivacyBehavior>& handler) override;
  void getCurrentTimelineEntryForComplication(const CLKComplication& complication,
                                              const Handler<std::optional<Entry>>& handler) override;
  void getTimelineEntriesForComplicationBeforeDate(
      const CLKComplication& complication, Date date, std::size_t limit,
      const Handler<std::optional<std::vector<Entry>>>& handler) override;
  void getTimelineEntriesForComplicationAfterDate(
      const CLKComplication& complication, Date date, std::size_t limit,
      const Handler<std::optional<std::vector<Entry>>>& handler) override;
  void getLocalizableSampleTemplateForComplication(
      const CLKComplication& complication,
      const Handler<std::optional<CLKComplicationTemplate>>& handler) override;
};

}  // namespace tunevale
