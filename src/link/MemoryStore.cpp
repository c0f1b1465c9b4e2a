#include "link/MemoryStore.h"

#include <cstring>

#include "link/Strand.h"

namespace tunevale::link {

Epoch newEpoch(Strand& strand) {
  Epoch bits{};
  for (std::size_t i = 0; i < bits.size(); i += sizeof(std::uint64_t)) {
    const std::uint64_t word = strand.random();
    std::memcpy(&bits[i], &word, sizeof(word));
  }
  return bits;
}

}  // namespace tunevale::link
