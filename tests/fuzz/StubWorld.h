#pragma once

#include <cstdint>
#include <cstdlib>

#include "host/Navigation.h"
#include "host/StubScreens.h"
#include "support/World.h"

namespace tunevale::test {

/// A world with stub screens, for all inputs of a process.
struct StubWorld : World {
  StubWorld() { addStubs(registry); }
  LayoutFolder folder;
  host::ControllerRegistry registry{platform};
};

}  // namespace tunevale::test
