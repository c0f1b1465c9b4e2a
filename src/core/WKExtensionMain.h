#pragma once

#include <functional>

namespace tunevale {

/// The watch framework's own main routine: makes the ExtensionDelegate, runs the extension, gives the
/// process's exit status.
using FrameworkMain = std::function<int(int argumentCount, char** arguments)>;

/// The process entry: hands control to the framework with the same arguments and returns its result. Without
/// a framework it starts nothing and returns EXIT_FAILURE.
int WKExtensionMain(int argumentCount, char** arguments, const FrameworkMain& frameworkMain);

}  // namespace tunevale
