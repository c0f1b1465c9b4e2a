#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tunevale {

enum class WKAlertControllerStyle { alert = 0 };
enum class WKAlertActionStyle { regular = 0, cancel = 1, destructive = 2 };

/// One button of an alert. Tapping it dismisses the alert, then runs the handler (which may be empty).
struct WKAlertAction {
  std::string title;
  WKAlertActionStyle style = WKAlertActionStyle::regular;
  std::function<void()> handler;
};

struct WKAlert {
  std::string title;
  std::string message;
  WKAlertControllerStyle preferredStyle = WKAlertControllerStyle::alert;
  std::vector<WKAlertAction> actions;
};

}  // namespace tunevale
