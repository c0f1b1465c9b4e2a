#include "screens/InterfaceController.h"

#include <array>

#include "foundation/Description.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfaceTable.h"
#include "radio/RadioManager.h"
#include "screens/InterfaceRowController.h"
#include "util/WatchUtil.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

namespace {

struct MenuRow {
  std::string_view title;
  std::string_view imageName;
  Color background;
};

constexpr std::array<MenuRow, 3> kMenu{{
    {"Weekly Top 15", "wt15", Color::ofBytes(34, 43, 67)},
    {"Radio Stations", "radio", Color::ofBytes(48, 181, 90, 0.17F)},
    {"My Player", "player", Color::ofBytes(48, 181, 90, 0.17F)},
}};

}  // namespace

void InterfaceController::connect(Connections& connections) {
  connections.outlet("table", table);
}

void InterfaceController::awakeWithContext(const PlistValue* context) {
  WKInterfaceController::awakeWithContext(context);
  platform().defaultCenter.addObserver(weak_from_this(), kNotificationFetchedRadioImage,
                                       [this](const Notification&) { reloadData(); });
  reloadData();
}

void InterfaceController::didDeactivate() {
  WKInterfaceController::didDeactivate();
}

void InterfaceController::reloadData() {
  WKInterfaceController::willActivate();
  table->setNumberOfRows(kMenu.size(), "InterfaceRow");
  for (std::size_t i = 0; i < kMenu.size(); ++i) {
    const auto* row = table->rowControllerAtIndex<InterfaceRowController>(i);
    if (row == nullptr) continue;
    row->headerTitle->setText("");
    row->subTitle->setText("");
    row->backgroundGroup->setBackgroundColor(kMenu[i].background);
    row->image->setImageNamed(kMenu[i].imageName);
    row->headerTitle->setText(kMenu[i].title);
  }
}

void InterfaceController::tableDidSelectRowAtIndex(WKInterfaceTable& /*selectedTable*/,
                                                   std::size_t rowIndex) {
  switch (rowIndex) {
    case 0:
      return openWeeklyTop15();
    case 1:
      return openRadioHomePage();
    default:
      return openPlayer();
  }
}

std::optional<PlistValue> InterfaceController::contextForSegueWithIdentifier(std::string_view identifier) {
  if (identifier != "RadioHomeSegue") return std::nullopt;
  const auto stations = platform().standardUserDefaults.objectForKey(kRequestFeaturedRadios);
  if (!WatchUtil::isNonEmptyArray(valueOrNull(stations))) return std::nullopt;
  return PlistDictionary{{"dataSource", *stations}};
}

void InterfaceController::openWeeklyTop15() {
  tellPhone("open:playlist_home");
  pushControllerWithName("PlaylistHomeView", PlistDictionary());
}

void InterfaceController::openRadioHomePage() {
  tellPhone("open:radio_home");
  RadioManager& manager = RadioManager::sharedManager(platform());
  const PlistArray featured = manager.getFeaturedStations();
  const PlistArray artist = manager.getArtistStations();
  presentControllerWithNames({"RadioHomeView", "RadioHomeView"},
                             {PlistDictionary{{"dataSource", featured}, {"type", "featured"}},
                              PlistDictionary{{"dataSource", artist}, {"type", "artist"}}});
}

void InterfaceController::openPlayer() {
  tellPhone("open:player_home");
  pushControllerWithName("PlayerHomeView", PlistDictionary());
}

void InterfaceController::tellPhone(const char* request) {
  platform().defaultSession.sendMessage({{kRequestKey, request}}, nullptr, nullptr);
}

void InterfaceController::sessionDidBecomeInactive(PhoneSession&) {
  platform().log.write("sessionDidBecomeInactive");
}

void InterfaceController::sessionDidDeactivate(PhoneSession&) {
  platform().log.write("sessionDidDeactivate");
}

void InterfaceController::sessionDidReceiveMessage(PhoneSession&, const PlistDictionary* message) {
  if (message != nullptr) platform().log.write("message = " + description(*message));
}

}  // namespace tunevale
