#include "core/WKExtensionMain.h"

#include <cstdlib>

namespace tunevale {

int WKExtensionMain(int argumentCount, char** arguments, const FrameworkMain& frameworkMain) {
  return frameworkMain ? frameworkMain(argumentCount, arguments) : EXIT_FAILURE;
}

}  // namespace tunevale
