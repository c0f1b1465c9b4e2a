// Whatever bytes come in, as a list or as an archive: nothing, or a value that both writers carry over
// unchanged and always write alike.
#include <cstdint>
#include <cstdlib>

#include "foundation/Description.h"
#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "foundation/PropertyListLimits.h"

using namespace tunevale;

namespace {

/// Counts down the values in a value; false when there are more. With few enough it can be read back however
/// small the form is that it is written in.
bool countDown(const PlistValue& value, std::uint32_t& left) {
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView input = std::as_bytes(std::span(data, size));
  const auto value = FUZZ_ARCHIVES ? unarchiveObjectWithData(input) : readPropertyList(input);
  std::uint32_t left = kAlwaysAllowedNodes;
  if (!value || !countDown(*value, left)) return 0;
  const Bytes archive = archivedDataWithRootObject(*value);
  const auto again = unarchiveObjectWithData(archive);
  if (again != value || archivedDataWithRootObject(*again) != archive) std::abort();
  if (readPropertyList(writePropertyList(*value)) != value || description(*value).size() > 4096) std::abort();
  return 0;
}
