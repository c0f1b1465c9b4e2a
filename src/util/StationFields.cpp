#include "util/StationFields.h"

#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

const PlistValue* getTitleForRadioStation(const PlistValue* station) noexcept {
  return valueForKey(station, "title");
}

const PlistValue* getImageUrlForRadioStation(const PlistValue* station) noexcept {
  return valueForKey(station, "image");
}

const PlistValue* getColorForRadioStation(const PlistValue* station) noexcept {
  return valueForKey(valueForKey(station, "more_info"), "color");
}

const PlistValue* getLanguageForRadioStation(const PlistValue* station) noexcept {
  return valueForKey(valueForKey(station, "more_info"), "language");
}

}  // namespace tunevale::WatchUtil
