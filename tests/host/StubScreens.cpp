#include "StubScreens.h"

#include <filesystem>

#include "host/AtomicFile.h"
#include "support/Pictures.h"

namespace tunevale::test {

LayoutFolder::LayoutFolder() {
  std::filesystem::create_directory(imageFolder());
  for (const char* name : {"dot", "spin0", "spin1"}) {
    host::writeFileAtomically(pngPicture(1, 1), imageFolder() + "/" + name + ".png");
  }
  host::writeFileAtomically(asBytes(stubLayout()), layoutPath());
}

}  // namespace tunevale::test
