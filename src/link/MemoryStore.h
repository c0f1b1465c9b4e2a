#pragma once

#include "link/SqliteStore.h"

namespace tunevale::link {

class Strand;

/// 128 bits from the strand's dice. Strand only.
Epoch newEpoch(Strand& strand);

/// A store that lives as long as the process.
class MemoryStore : public SqliteStore {
 public:
  explicit MemoryStore(const Epoch& epoch) : SqliteStore({}, epoch) {}
};

}  // namespace tunevale::link
