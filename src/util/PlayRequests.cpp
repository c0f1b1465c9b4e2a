#include "util/PlayRequests.h"

#include <chrono>

#include "platform/Platform.h"
#include "platform/WKInterfaceController.h"
#include "platform/WKInterfaceGroup.h"
#include "util/Alerts.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale::WatchUtil {

bool phoneIsReady(WKInterfaceController& screen) {
  const PhoneSession& session = screen.platform().defaultSession;
  if (session.activationState() != ActivationState::activated) {
    showAlert(kAlertNotActivated, screen);
  } else if (session.iOSDeviceNeedsUnlockAfterRebootForReachability()) {
    showAlert(kAlertNotPaired, screen);
  } else if (!session.isReachable()) {
    showAlert(kAlertNotReachable, screen);
  } else {
    return true;
  }
  return false;
}

void flashPlayButton(WKInterfaceController& screen, WKInterfaceGroup& playButtonGroup) {
  playButtonGroup.setBackgroundColor(kPressedColor);
  screen.platform().mainQueue.after(std::chrono::milliseconds(100),
                                    [kept = screen.shared_from_this(), group = &playButtonGroup] {
                                      group->setBackgroundColor(kPlayColor);
                                    });
}

}  // namespace tunevale::WatchUtil
