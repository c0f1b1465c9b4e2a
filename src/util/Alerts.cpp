#include "util/Alerts.h"

#include "foundation/Description.h"
#include "foundation/KeyedArchive.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceController.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale::WatchUtil {

void showAlert(std::string_view message, WKInterfaceController& byInterface) {
  byInterface.presentAlertControllerWithTitle("Tunevale", message, WKAlertControllerStyle::alert,
                                              {{"OK", WKAlertActionStyle::regular, nullptr}});
}

void showEmptyDataErrorAlert(WKInterfaceController& screen) {
  showAlert(kAlertDataError, screen);
}

void fetchAppDataFromPage(WKInterfaceController& page) {
  Platform& platform = page.platform();
  if (platform.defaultSession.activationState() != ActivationState::activated) return;
  showAlert(kAlertFetchingData, page);
  if (platform.standardUserDefaults.objectForKey(kUserFetchDataAlert)) {
    showEmptyDataErrorAlert(page);
    return;
  }
  // Both handlers hold the screen: the answer is for it, however long it takes.
  const auto screen = page.shared_from_this();
  platform.defaultSession.sendMessageData(
      archivedDataWithRootObject(PlistDictionary{{kRequestKey, kRequestAppData}}),
      [screen](ByteView) {
        screen->platform().log.write("DV:>>> Reply received");
        screen->platform().standardUserDefaults.setObject(PlistValue(1), kUserFetchDataAlert);
      },
      [screen](const SessionError& error) {
        screen->platform().log.write("Error is : " + description(error.description));
        showEmptyDataErrorAlert(*screen);
      });
}

}  // namespace tunevale::WatchUtil
