#pragma once

#include <functional>
#include <memory>

#include "host/SceneLayout.h"

namespace tunevale {
class InterfaceHost;
class WKInterfaceController;
}  // namespace tunevale

namespace tunevale::host {

class ControllerRegistry;

/// Makes screens of the layout. Layout and registry outlive it and every screen that is not yet detached.
/// Main queue.
class SceneBuilder {
 public:
  using RunSegue = std::function<void(WKInterfaceController&, const SegueLayout&)>;
  SceneBuilder(const ControllerRegistry& registry, RunSegue runSegue)
      : registry_(registry), runSegue_(std::move(runSegue)) {}

  /// A screen with its elements, outlets, actions and title, attached to the host, not yet awakened. Actions
  /// keep their screen or row controller alive while they run, and do nothing once it has gone.
  std::shared_ptr<WKInterfaceController> build(const SceneLayout& scene, InterfaceHost& host) const;

 private:
  const ControllerRegistry& registry_;
  const RunSegue runSegue_;
};

}  // namespace tunevale::host
