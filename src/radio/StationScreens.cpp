#include "radio/StationScreens.h"

#include <utility>
#include <vector>

#include "platform/LetterCase.h"
#include "util/HexColor.h"
#include "util/StationFields.h"
#include "util/TextCleaning.h"
#include "util/ValueChecks.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

namespace {

PlistDictionary withoutNulls(const PlistDictionary& record) {
  std::vector<PlistDictionary::Entry> kept;
  for (const auto& entry : record) {
    if (!entry.value.isNull()) kept.push_back(entry);
  }
  return PlistDictionary::fromEntries(std::move(kept));
}

}  // namespace

std::int32_t stationTypeOf(const PlistValue* context) {
  return stringOrEmpty(valueForKey(context, "type")) == "artist" ? kArtistStations : kFeaturedStations;
}

const char* stationTypeName(std::int32_t type) {
  return type == kArtistStations ? "artist" : "featured";
}

std::string capitalizedField(LetterCase& letterCase, const PlistValue* field) {
  return letterCase.capitalizedString(textToClean(field));
}

Color stationColor(const PlistValue* station, float alpha) {
  const PlistValue hex(textToClean(getColorForRadioStation(station)));
  return getColorFromHex(&hex, alpha);
}

std::optional<PlistDictionary> playRadioRequest(const PlistValue* station, std::int32_t type) {
  if (!isNonEmptyDictionary(station)) return std::nullopt;
  PlistDictionary record = dictionaryOrEmpty(station);
  if (type == kArtistStations) {
    const PlistValue* moreInfo = record.find("more_info");
    if (isNonEmptyDictionary(moreInfo)) record.set("more_info", withoutNulls(dictionaryOrEmpty(moreInfo)));
  }
  return PlistDictionary{
      {kRequestKey, "playRadio"}, {"dataSource", std::move(record)}, {"type", stationTypeName(type)}};
}

}  // namespace tunevale
