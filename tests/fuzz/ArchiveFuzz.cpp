// Whatever bytes come in: nothing, or a value whose archive decodes to it and is always the same.
#include <cstdint>
#include <cstdlib>

#include "foundation/KeyedArchive.h"
#include "fuzz/ModestValue.h"

using namespace tunevale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = unarchiveObjectWithData(std::as_bytes(std::span(data, size)));
  if (!value || !isModest(*value)) return 0;
  const Bytes archive = archivedDataWithRootObject(*value);
  const auto again = unarchiveObjectWithData(archive);
  if (again != value) std::abort();
  if (archivedDataWithRootObject(*again) != archive) std::abort();
  return 0;
}
