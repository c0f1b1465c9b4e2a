#include "radio/RadioInterfaceController.h"

#include <exception>

#include "foundation/Description.h"
#include "foundation/Text.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/ShownText.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceLabel.h"
#include "radio/RadioManager.h"
#include "radio/StationScreens.h"
#include "util/PlayRequests.h"
#include "util/ShownLimits.h"
#include "util/WatchUtil.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

using namespace WatchUtil;

void RadioInterfaceController::connect(Connections& connections) {
  connections.outlet("pickerGroup", pickerGroup);
  connections.outlet("infoGroup", infoGroup);
  connections.outlet("radioPicker", radioPicker);
  connections.outlet("titleLabel", titleLabel);
  connections.outlet("metaLabel", metaLabel);
  connections.outlet("backgroundGroup", backgroundGroup);
  connections.outlet("playButtonGroup", playButtonGroup);
  connections.action("playRadio", [this] { playRadio(); });
  connections.pickerAction("pickerChanged",
                           [this](int index) { pickerChanged(static_cast<std::uint32_t>(index)); });
}

void RadioInterfaceController::awakeWithContext(const PlistValue* context) {
  WKInterfaceController::awakeWithContext(context);
  platform().defaultCenter.addObserver(weak_from_this(), kNotificationFetchedRadioImage,
                                       [this](const Notification&) { reloadData(); });
  const PlistValue* stations = valueForKey(context, "dataSource");
  if (!isNonEmptyArray(stations)) return;
  dataSource = arrayOrEmpty(stations);
  logIfCut(dataSource, platform().log);
  type = stationTypeOf(context);
  if (type == kFeaturedStations) {
    backgroundGroup->setBackgroundColor(stationColor(dataSource.at(0), 0.5F));
    backgroundGroup->setBackgroundImage(nullptr);
  }
  const PlistValue* index = valueForKey(context, "currentIndex");
  if (isNonEmptyString(index)) currentIndex_ = static_cast<std::uint32_t>(integerValue(stringOrEmpty(index)));
  playButtonGroup->setBackgroundColor(kPlayColor);
  reloadData();
}

void RadioInterfaceController::willActivate() {
  WKInterfaceController::willActivate();
}

void RadioInterfaceController::didDeactivate() {
  WKInterfaceController::didDeactivate();
  const WKInterfaceController* const observer = this;
  platform().defaultCenter.removeObserver(observer, kNotificationFetchedRadioImage);
}

void RadioInterfaceController::reloadData() {
  radioPickerItems.clear();
  for (std::size_t i = 0; i < shownCount(dataSource); ++i) {
    radioPickerItems.push_back(itemFor(dataSource.at(i)));
  }
  radioPicker->setItems(radioPickerItems);
  radioPicker->setSelectedItemIndex(currentIndex_);
  radioPicker->setEnabled(true);
  radioPicker->focus();
}

WKPickerItem RadioInterfaceController::itemFor(const PlistValue* station) {
  // No file has a longer name than this, so what is not shown of a title finds no picture either.
  const std::string_view title = shownText(stringOrEmpty(getTitleForRadioStation(station)));
  const std::string fileName = getValidFileNameForRadio(title);
  WKPickerItem item;
  item.setTitle(title);
  item.setCaption(title);
  if (const ImagePtr cached = RadioManager::sharedManager(platform()).getCachedImageForRadioName(fileName)) {
    try {
      item.setContentImage(WKImage::imageWithImage(cached));
    } catch (const std::exception& failure) {
      platform().log.write("Unable to set image to at the row : " + description(failure.what()));
    }
  } else if (const ImagePtr stored = getImageForKey(platform(), fileName)) {
    item.setContentImage(WKImage::imageWithImage(stored));
  }
  return item;
}

void RadioInterfaceController::pickerChanged(std::uint32_t index) {
  currentIndex_ = index;
  const PlistValue* station = dataSource.at(index);
  titleLabel->setText(capitalizedField(platform().letterCase, getTitleForRadioStation(station)));
  metaLabel->setText(capitalizedField(platform().letterCase, getLanguageForRadioStation(station)));
  backgroundGroup->setBackgroundColor(stationColor(station, 0.5F));
}

void RadioInterfaceController::playRadio() {
  flashPlayButton(*this, *playButtonGroup);
  PhoneSession& session = platform().defaultSession;
  if (!phoneIsReady(*this) || session.activationState() != ActivationState::activated) return;
  auto request = playRadioRequest(dataSource.at(currentIndex_), type);
  if (!request) return;
  // The handlers do not need the screen, and so do not hold it.
  Log& log = platform().log;
  session.sendMessage(
      std::move(*request),
      [&log](const PlistDictionary& reply) { log.write("Received reply : " + description(reply)); },
      [&log](const SessionError& error) {
        log.write("Error Firing radio : " + description(error.description));
      });
}

}  // namespace tunevale
