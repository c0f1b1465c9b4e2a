#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/PlistValue.h"
#include "platform/WKAlert.h"
#include "platform/WKInterfaceObject.h"

namespace tunevale {

class Connections;
class InterfaceHost;
class WKInterfaceTable;
struct Platform;

/// A screen. The host makes it, connects it to its elements, awakens it and drives its lifecycle; all on the
/// main queue. The screen keeps its elements alive, so a late reply may still touch them after the screen was
/// left.
class WKInterfaceController : public std::enable_shared_from_this<WKInterfaceController> {
 public:
  explicit WKInterfaceController(Platform& platform) : platform_(platform) {}
  virtual ~WKInterfaceController() = default;
  WKInterfaceController(const WKInterfaceController&) = delete;
  WKInterfaceController& operator=(const WKInterfaceController&) = delete;

  /// Names this class's outlets and actions, once, before awakening.
  virtual void connect(Connections& connections) = 0;
  /// Once, after the outlets are set. Null: no context.
  virtual void awakeWithContext(const PlistValue* /*context*/) {}
  virtual void willActivate() {}
  virtual void willDisappear() {}
  virtual void didDeactivate() {}
  virtual void tableDidSelectRowAtIndex(WKInterfaceTable& /*table*/, std::size_t /*rowIndex*/) {}
  /// The context for the screen that a segue of the layout opens.
  virtual std::optional<PlistValue> contextForSegueWithIdentifier(std::string_view /*identifier*/) {
    return {};
  }

  /// The title, also shown as the label that leads back.
  void setTitle(std::string_view title);
  const std::string& title() const { return title_; }
  /// Open another screen by its scene identifier: on top, or modally (several as pages).
  void pushControllerWithName(const std::string& name, const PlistValue& context);
  void presentControllerWithName(const std::string& name, const PlistValue& context);
  void presentControllerWithNames(const std::vector<std::string>& names,
                                  const std::vector<PlistValue>& contexts);
  void presentAlertControllerWithTitle(std::string_view title, std::string_view message,
                                       WKAlertControllerStyle preferredStyle,
                                       std::vector<WKAlertAction> actions);

  Platform& platform() const { return platform_; }
  /// Host only. The elements' root, and whoever shows the screen.
  void attach(std::unique_ptr<WKInterfaceObject> root, const InterfaceHost& host);
  /// Host only. The screen was left; late answers still find its elements and may show alerts.
  void detach();
  WKInterfaceObject* root() const { return root_.get(); }

 private:
  Platform& platform_;
  std::weak_ptr<InterfaceHost> host_;
  std::unique_ptr<WKInterfaceObject> root_;
  std::string title_;
};

/// The screen that shows a notification; the default one shows what the platform draws.
class WKUserNotificationInterfaceController : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;
  void connect(Connections&) override {}
};

}  // namespace tunevale
