// A layout is refused with its place, or its first screen can be shown.
#include "fuzz/StubWorld.h"
#include "host/LayoutReader.h"

using namespace tunevale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test::StubWorld world;
  host::InterfaceLayout layout;
  try {
    layout = world.folder.read(std::string(reinterpret_cast<const char*>(data), size), world.registry);
  } catch (const host::LayoutError& error) {
    if (!std::string(error.what()).starts_with(world.folder.layoutPath() + ":")) std::abort();
    return 0;
  }
  host::Navigation navigation(layout, world.registry, world.platform.sharedExtension, [] {});
  navigation.start();
  if (navigation.identifier() != layout.initial) std::abort();
  world.log.clear();
  return 0;
}
