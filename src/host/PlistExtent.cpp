#include "host/PlistExtent.h"

#include "foundation/PropertyListLimits.h"

namespace tunevale::host {

namespace {

// A head of 9 bytes, a reference of 8 and a place of 8 in the table of offsets, or less.
constexpr std::uint64_t kMostBytesBesideText = 25;

std::uint64_t bytesOf(std::string_view utf8) {
  return kMostBytesBesideText + 2 * std::uint64_t{utf8.size()};  // written in ASCII, or else in UTF-16
}

bool add(const PlistValue& value, std::uint32_t levels, const PlistExtent& limit, PlistExtent& sum) {
  sum.nodes += 1;
  sum.bytes += bytesOf(value.string().value_or(asText(value.bytes().value_or(ByteView()))));
  if (!sum.isWithin(limit)) return false;
  if (const PlistArray* array = value.array()) {
    if (levels == 0) return false;
    for (const PlistValue& item : *array) {
      if (!add(item, levels - 1, limit, sum)) return false;
    }
  } else if (const PlistDictionary* dictionary = value.dictionary()) {
    if (levels == 0) return false;
    for (const PlistDictionary::Entry& entry : *dictionary) {
      sum.bytes += bytesOf(entry.key);
      if (!add(entry.value, levels - 1, limit, sum)) return false;
    }
  }
  return true;
}

}  // namespace

std::optional<PlistExtent> extentOfEntry(std::string_view key, const PlistValue& value,
                                         const PlistExtent& limit) {
  PlistExtent sum{0, bytesOf(key)};
  if (!add(value, kMostNesting - 1, limit, sum)) return {};
  return sum;
}

}  // namespace tunevale::host
