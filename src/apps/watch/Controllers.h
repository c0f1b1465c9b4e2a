#pragma once

namespace tunevale {

namespace host {
class ControllerRegistry;
}

/// Tells the registry every class that a layout may name.
void addControllers(host::ControllerRegistry& registry);

}  // namespace tunevale
