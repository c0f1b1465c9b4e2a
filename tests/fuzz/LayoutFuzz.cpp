// A layout is refused with its place, or its first screen can be shown.
#include <cstdint>
#include <cstdlib>

#include "host/LayoutReader.h"
#include "host/Navigation.h"
#include "host/StubScreens.h"
#include "support/World.h"

using namespace tunevale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test::World world;
  static test::LayoutFolder folder;
  static host::ControllerRegistry registry = [] {
    host::ControllerRegistry made(world.platform);
    test::addStubs(made);
    return made;
  }();
  host::InterfaceLayout layout;
  try {
    layout = folder.read(std::string(reinterpret_cast<const char*>(data), size), registry);
  } catch (const host::LayoutError& error) {
    if (!std::string(error.what()).starts_with(folder.layoutPath() + ":")) std::abort();
    return 0;
  }
  host::Navigation navigation(layout, registry, world.platform.sharedExtension, [] {});
  navigation.start();
  if (navigation.identifier() != layout.initial) std::abort();
  world.log.clear();
  return 0;
}
