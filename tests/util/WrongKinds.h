#pragma once

#include <vector>

#include "foundation/PlistValue.h"

namespace tunevale::test {

/// One value of each kind, empty ones too, that has no business where a record, a list or a text is expected.
inline std::vector<PlistValue> oneOfEachKind() {
  const Bytes bytes{std::byte{0}, std::byte{255}};
  const PlistArray ofNull{PlistValue()}, mixed{PlistArray(), "x", PlistDictionary()};
  const PlistDictionary odd{{"title", 3}};
  return {PlistValue(),      true, 7, -0.5, "", " \n ", "text", Bytes(), bytes, PlistArray(), ofNull, mixed,
          PlistDictionary(), odd};
}

}  // namespace tunevale::test
