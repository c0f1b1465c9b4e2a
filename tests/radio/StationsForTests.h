#pragma once

#include "foundation/PlistValue.h"
#include "util/WrongKinds.h"

namespace tunevale::test {

/// A station's record; a null text leaves its field out.
inline PlistDictionary station(const char* title, const char* language = "hindi",
                               const char* color = "#102030") {
  PlistDictionary info;
  if (language != nullptr) info.set("language", language);
  if (color != nullptr) info.set("color", color);
  return {{"title", title}, {"more_info", info}};
}

inline PlistDictionary stationContext(const PlistArray& stations, const char* type = "featured") {
  return {{"dataSource", stations}, {"type", type}};
}

/// A value of each kind as a station, and as each of a station's fields.
inline PlistArray oddStations() {
  PlistArray stations;
  for (const PlistValue& odd : oneOfEachKind()) {
    stations.append(odd);
    stations.append(PlistDictionary{{"title", odd}, {"more_info", odd}});
    stations.append(PlistDictionary{{"more_info", PlistDictionary{{"color", odd}, {"language", odd}}}});
  }
  return stations;
}

}  // namespace tunevale::test
