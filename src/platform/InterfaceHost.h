#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/PlistValue.h"
#include "platform/WKAlert.h"

namespace tunevale {

class WKInterfaceController;

/// What a screen may ask of whoever shows it. Main queue. Screens call it through WKInterfaceController.
class InterfaceHost {
 public:
  using Page = std::pair<std::string, PlistValue>;  // scene identifier and context
  InterfaceHost() = default;
  virtual ~InterfaceHost() = default;
  InterfaceHost(const InterfaceHost&) = delete;
  InterfaceHost& operator=(const InterfaceHost&) = delete;
  virtual void titleDidChange(WKInterfaceController& screen) = 0;
  /// Ignored, with no effect, when the screen is not on top or the identifier is unknown.
  virtual void push(WKInterfaceController& from, const std::string& name, const PlistValue& context) = 0;
  virtual void present(WKInterfaceController& from, const std::vector<Page>& pages) = 0;
  /// Never dropped: alerts wait for one another, those of a page that is not seen until it is, and those of a
  /// screen that was left come too. Only one that says the same as one that waits or is up is shown once.
  virtual void presentAlert(WKInterfaceController& from, WKAlert alert) = 0;

  /// For screens, which may outlive their host; empty once it has gone.
  std::weak_ptr<InterfaceHost> handle() const { return self_; }

 private:
  const std::shared_ptr<InterfaceHost> self_{this, [](InterfaceHost*) {}};
};

}  // namespace tunevale
