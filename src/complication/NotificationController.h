#pragma once

#include "platform/WKInterfaceController.h"

namespace tunevale {

/// The screen of a notification: it shows what the platform draws by itself.
class NotificationController : public WKUserNotificationInterfaceController {
 public:
  using WKUserNotificationInterfaceController::WKUserNotificationInterfaceController;
  void willActivate() override { WKUserNotificationInterfaceController::willActivate(); }
  void didDeactivate() override { WKUserNotificationInterfaceController::didDeactivate(); }
};

}  // namespace tunevale
