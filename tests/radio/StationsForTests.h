#pragma once

#include "foundation/PlistValue.h"
#include "util/WrongKinds.h"

namespace tunevale::test {

inline PlistDictionary station(const char* title, const char* language = "old hindi") {
  return {{"title", title}, {"more_info", PlistDictionary{{"language", language}, {"color", "#FF8000"}}}};
}

inline PlistDictionary stationContext(const PlistArray& stations, const char* type = "featured") {
  return {{"dataSource", stations}, {"type", type}};
}

/// A value of each kind as a station and as each of a station's fields, and far more of them than fit.
inline PlistArray oddStations() {
  PlistArray stations;
  for (const PlistValue& odd : oneOfEachKind()) {
    stations.append(odd);
    stations.append(PlistDictionary{{"title", odd}, {"more_info", odd}});
    stations.append(PlistDictionary{{"more_info", PlistDictionary{{"color", odd}, {"language", odd}}}});
  }
  while (stations.size() < 5000) stations.append(PlistDictionary{{"title", "../../secret"}});
  return stations;
}

}  // namespace tunevale::test
