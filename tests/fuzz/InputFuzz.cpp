// Whatever comes as inputs, one a line, is done or refused with a reason.
#include "host/InputHandler.h"
#include "host/StubScreens.h"

using namespace tunevale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test::StubWorld stub;
  host::Navigation navigation(stub.layout, stub.registry, stub.world.platform.sharedExtension, [] {});
  navigation.start();
  host::InputHandler inputs(navigation);
  std::string_view lines(reinterpret_cast<const char*>(data), size);
  while (!lines.empty()) {
    const std::size_t end = lines.find('\n');
    const host::InputOutcome outcome = inputs.handle(lines.substr(0, end));
    if ((outcome.kind == host::InputOutcome::Kind::done) != outcome.why.empty()) std::abort();
    lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
  }
  stub.world.log.clear();
  return 0;
}
