#pragma once

#include <stdexcept>
#include <string>

#include "host/SceneLayout.h"

namespace tunevale::host {

class ControllerRegistry;

/// Why a layout cannot be used: one line, `FILE:LINE:COLUMN: reason` (lines and columns from 1, columns in
/// characters).
class LayoutError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads and checks a layout file, described in docs/layout.md. Everything that it names must exist: classes,
/// outlets and actions in the registry, image files in its folder. Throws LayoutError at the first mistake.
InterfaceLayout readLayout(const std::string& path, const ControllerRegistry& registry);

/// The same from text; `path` names it in errors, and images are looked for beside it.
InterfaceLayout readLayoutText(std::string text, const std::string& path, const ControllerRegistry& registry);

}  // namespace tunevale::host
