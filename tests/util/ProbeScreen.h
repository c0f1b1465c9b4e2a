#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Connections.h"
#include "platform/InterfaceHost.h"
#include "platform/WKInterfaceController.h"

namespace tunevale::test {

/// Keeps the alerts that screens ask for.
class AlertBook : public InterfaceHost {
 public:
  void titleDidChange(WKInterfaceController&) override {}
  void push(WKInterfaceController&, const std::string&, const PlistValue&) override {}
  void present(WKInterfaceController&, const std::vector<Page>&) override {}
  void presentAlert(WKInterfaceController&, WKAlert alert) override { alerts.push_back(std::move(alert)); }

  std::vector<std::string> takeMessages() {
    std::vector<std::string> messages;
    for (const WKAlert& alert : alerts) messages.push_back(alert.message);
    alerts.clear();
    return messages;
  }
  std::vector<WKAlert> alerts;
};

/// A screen without elements, to show alerts on.
class ProbeScreen : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;
  void connect(Connections&) override {}
  static std::shared_ptr<ProbeScreen> shownBy(AlertBook& host, Platform& platform) {
    auto screen = std::make_shared<ProbeScreen>(platform);
    screen->attach(nullptr, &host);
    return screen;
  }
};

}  // namespace tunevale::test
