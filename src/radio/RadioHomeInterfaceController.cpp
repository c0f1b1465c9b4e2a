#include "radio/RadioHomeInterfaceController.h"

#include "foundation/Description.h"
#include "foundation/KeyedArchive.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfaceTable.h"
#include "radio/RadioRowController.h"
#include "radio/StationScreens.h"
#include "util/PlayRequests.h"
#include "util/ShownLimits.h"
#include "util/WatchUtil.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

void RadioHomeInterfaceController::connect(Connections& connections) {
  connections.outlet("radioTable", radioTable);
  connections.outlet("backgroundGroup", backgroundGroup);
}

void RadioHomeInterfaceController::awakeWithContext(const PlistValue* context) {
  WKInterfaceController::awakeWithContext(context);
  platform().defaultCenter.addObserver(weak_from_this(), kNotificationFetchedRadioImage,
                                       [this](const Notification&) { radioImageFetched(); });
  parentContext = context == nullptr ? PlistValue() : *context;
  type = stationTypeOf(context);
  dataSource = arrayOrEmpty(valueForKey(context, "dataSource"));
  if (!dataSource.empty() || takeStoredStations()) {
    setTitle(type == kArtistStations ? "< Artists" : "< Featured");
  } else {
    fetchAppDataFromPage(*this);
  }
  logIfCut(dataSource, platform().log);
  reloadData(true);
}

/// Whether station data is stored; its list of this kind is taken as it is, also when it is empty.
bool RadioHomeInterfaceController::takeStoredStations() {
  const auto stored = platform().standardUserDefaults.objectForKey(kReceiveRadioStations);
  const auto stations = unarchiveObjectWithData(valueOrNull(stored));
  if (!isNonEmptyDictionary(valueOrNull(stations))) return false;
  dataSource = arrayOrEmpty(valueForKey(valueOrNull(stations), stationTypeName(type)));
  return true;
}

void RadioHomeInterfaceController::willActivate() {
  WKInterfaceController::willActivate();
}

void RadioHomeInterfaceController::didDeactivate() {
  WKInterfaceController::didDeactivate();
  const WKInterfaceController* const observer = this;
  platform().defaultCenter.removeObserver(observer, kNotificationFetchedRadioImage);
}

void RadioHomeInterfaceController::reloadData(bool /*fetchImages*/) {
  radioTable->setNumberOfRows(shownCount(dataSource), "RadioRow");
  for (std::size_t i = 0; i < shownCount(dataSource); ++i) {
    const auto* row = radioTable->rowControllerAtIndex<RadioRowController>(i);
    if (row == nullptr) continue;
    const PlistValue* station = dataSource.at(i);
    LetterCase& letterCase = platform().letterCase;
    row->radioName->setText(capitalizedField(letterCase, getTitleForRadioStation(station)));
    row->radioLanguage->setText(capitalizedField(letterCase, getLanguageForRadioStation(station)));
    if (type != kFeaturedStations) {
      row->radioImage->setImageNamed("quickplay_artist");
    } else {
      row->radioBackgroundGroup->setBackgroundColor(stationColor(station, 0.8F));
      row->radioBackgroundGroup->setBackgroundImage(nullptr);
    }
  }
}

void RadioHomeInterfaceController::radioImageFetched() {
  reloadData(false);
}

void RadioHomeInterfaceController::tableDidSelectRowAtIndex(WKInterfaceTable& table, std::size_t index) {
  if (&table != radioTable || !phoneIsReady(*this)) return;
  auto request = playRadioRequest(dataSource.at(index), type);
  if (!request) return;
  const auto kept = shared_from_this();
  platform().defaultSession.sendMessage(
      std::move(*request),
      [this, kept](const PlistDictionary& reply) {
        platform().log.write("Received reply : " + description(reply));
        const PlistValue* error = reply.find("error");
        if (isNonEmptyString(error)) {
          showAlert(stringOrEmpty(error), *this);
        } else {
          presentControllerWithName("PlayerHomeView", PlistDictionary{{"view_type", "modal"}});
        }
      },
      [this, kept](const SessionError& error) {
        platform().log.write("Error Firing radio : " + description(error.description));
      });
}

std::optional<PlistValue> RadioHomeInterfaceController::contextForSegueWithIdentifier(
    std::string_view identifier) {
  if (identifier != "RadioPickerSegue" || dataSource.empty()) return std::nullopt;
  return PlistDictionary{{"dataSource", dataSource}, {"type", stationTypeName(type)}};
}

}  // namespace tunevale
