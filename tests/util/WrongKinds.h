#pragma once

#include <vector>

#include "foundation/PlistValue.h"

namespace tunevale::test {

/// One value of each kind, empty ones too, that has no business where a record, a list or a text is expected.
inline std::vector<PlistValue> oneOfEachKind() {
  const Bytes bytes{std::byte{0}, std::byte{255}};
  return {PlistValue(),
          true,
          7,
          -0.5,
          "",
          " \n ",
          "text",
          PlistValue(Bytes()),
          PlistValue(bytes),
          PlistArray(),
          PlistArray{PlistValue()},
          PlistArray{PlistArray(), "x", PlistDictionary()},
          PlistDictionary(),
          PlistDictionary{{"title", 3}}};
}

}  // namespace tunevale::test
