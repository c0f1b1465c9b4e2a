// Whatever bytes come in: nothing, or a value that both writers carry over unchanged.
#include <cstdint>
#include <cstdlib>

#include "foundation/Description.h"
#include "foundation/KeyedArchive.h"
#include "foundation/PropertyList.h"
#include "fuzz/ModestValue.h"

using namespace tunevale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = readPropertyList(std::as_bytes(std::span(data, size)));
  if (!value || !isModest(*value)) return 0;
  if (readPropertyList(writePropertyList(*value)) != value) std::abort();
  if (unarchiveObjectWithData(archivedDataWithRootObject(*value)) != value) std::abort();
  if (description(*value).size() > 4096) std::abort();
  return 0;
}
