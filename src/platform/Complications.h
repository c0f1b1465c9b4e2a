#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ShownText.h"

namespace tunevale {

/// The place that a watch face offers, and what may stand in it.
struct CLKComplication {
  std::string family;
};
class CLKComplicationTemplate {
 public:
  explicit CLKComplicationTemplate(std::string_view utf8) : text_(shownText(utf8)) {}
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};
struct CLKComplicationTimelineEntry {
  std::chrono::system_clock::time_point date;
  CLKComplicationTemplate content;
};

/// Bits of the supported time-travel directions.
enum CLKComplicationTimeTravelDirections : unsigned {
  kTimeTravelNone = 0,
  kTimeTravelForward = 1,
  kTimeTravelBackward = 2,
};
enum class CLKComplicationPrivacyBehavior { showOnLockScreen = 0, hideOnLockScreen = 1 };

/// Answers the watch face's queries: each calls its handler once, with an empty optional for "none". Main
/// queue.
class CLKComplicationDataSource {
 public:
  using Date = std::chrono::system_clock::time_point;
  using Entry = CLKComplicationTimelineEntry;
  template <class T>
  using Handler = std::function<void(T)>;
  virtual ~CLKComplicationDataSource() = default;

  virtual void getSupportedTimeTravelDirectionsForComplication(const CLKComplication& complication,
                                                               const Handler<unsigned>& handler) = 0;
  virtual void getTimelineStartDateForComplication(const CLKComplication& complication,
                                                   const Handler<std::optional<Date>>& handler) = 0;
  virtual void getTimelineEndDateForComplication(const CLKComplication& complication,
                                                 const Handler<std::optional<Date>>& handler) = 0;
  virtual void getPrivacyBehaviorForComplication(const CLKComplication& complication,
                                                 const Handler<CLKComplicationPrivacyBehavior>& handler) = 0;
  virtual void getCurrentTimelineEntryForComplication(const CLKComplication& complication,
                                                      const Handler<std::optional<Entry>>& handler) = 0;
  virtual void getTimelineEntriesForComplicationBeforeDate(
      const CLKComplication& complication, Date date, std::size_t limit,
      const Handler<std::optional<std::vector<Entry>>>& handler) = 0;
  virtual void getTimelineEntriesForComplicationAfterDate(
      const CLKComplication& complication, Date date, std::size_t limit,
      const Handler<std::optional<std::vector<Entry>>>& handler) = 0;
  virtual void getLocalizableSampleTemplateForComplication(
      const CLKComplication& complication,
      const Handler<std::optional<CLKComplicationTemplate>>& handler) = 0;
};

}  // namespace tunevale
