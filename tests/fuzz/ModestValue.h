#pragma once

#include "foundation/PlistValue.h"
#include "foundation/PropertyListLimits.h"

namespace tunevale {

/// Counts down the values in a value; false when there are more.
inline bool countDown(const PlistValue& value, std::uint32_t& left) {
  if (left-- == 0) return false;
  if (const PlistArray* array = value.array()) {
    for (const PlistValue& item : *array) {
      if (!countDown(item, left)) return false;
    }
  } else if (const PlistDictionary* dictionary = value.dictionary()) {
    for (const auto& entry : *dictionary) {
      if (!countDown(entry.value, left)) return false;
    }
  }
  return true;
}

/// Whether a value is small enough to be read back however small the form is that it is written in.
inline bool isModest(const PlistValue& value) {
  std::uint32_t left = kAlwaysAllowedNodes;
  return countDown(value, left);
}

}  // namespace tunevale
