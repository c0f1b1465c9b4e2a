// A layout is refused with its place, or its first screen can be shown.
#include "host/LayoutReader.h"
#include "host/StubScreens.h"

using namespace tunevale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test::StubWorld stub;
  host::InterfaceLayout layout;
  try {
    layout = stub.folder.read(std::string(reinterpret_cast<const char*>(data), size), stub.registry);
  } catch (const host::LayoutError& error) {
    if (!std::string(error.what()).starts_with(stub.folder.layoutPath() + ":")) std::abort();
    return 0;
  }
  host::Navigation navigation(layout, stub.registry, stub.world.platform.sharedExtension, [] {});
  navigation.start();
  if (navigation.identifier() != layout.initial) std::abort();
  stub.world.log.clear();
  return 0;
}
