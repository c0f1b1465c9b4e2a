#pragma once

#include <string_view>

namespace tunevale {
class WKInterfaceController;
}

/// What a screen tells a person, and how it asks the phone for data that it lacks. Main queue. The screen is
/// one that a shared pointer holds, as the host's are.
namespace tunevale::WatchUtil {

/// The one form of alert: titled "Tunevale", with one button "OK" that only dismisses it.
void showAlert(std::string_view message, WKInterfaceController& byInterface);

/// The alert of kAlertDataError.
void showEmptyDataErrorAlert(WKInterfaceController& screen);

/// Asks the phone to push everything again, for a screen that opened without data. Does nothing while the
/// session is not activated. Shows kAlertFetchingData first, always; once the phone has answered such a
/// request (kUserFetchDataAlert in user defaults) the data-error alert follows instead of another request. A
/// failed request is logged and shows the data-error alert. The screen lives at least until the answer.
void fetchAppDataFromPage(WKInterfaceController& page);

}  // namespace tunevale::WatchUtil
