#pragma once

#include <cstdint>

#include "platform/WKInterfaceController.h"

namespace tunevale {

class WKInterfaceGroup;

/// The station list: one of the phone's two lists of stations as a table. Its list is chosen when it opens
/// and stays. It rebuilds its rows whenever artwork arrives, until it is deactivated for the first time, and
/// not again after that. Main queue.
class RadioHomeInterfaceController : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;

  bool canFetchImages = false;  // nobody asks yet: artwork comes from the phone by itself
  PlistValue parentContext;     // kept for as long as the screen lives
  std::int32_t type = 0;        // kFeaturedStations or kArtistStations
  WKInterfaceTable* radioTable = nullptr;
  WKInterfaceGroup* backgroundGroup = nullptr;
  /// Sent whole, although a hostile list shows no more than WatchUtil::kMostRows rows.
  PlistArray dataSource;

  void connect(Connections& connections) override;
  /// Shows the context's "dataSource" as the kind under "type", else the stored list of that kind; without
  /// either the phone is asked for its data.
  void awakeWithContext(const PlistValue* context) override;
  void willActivate() override;
  void didDeactivate() override;
  void tableDidSelectRowAtIndex(WKInterfaceTable& table, std::size_t index) override;
  /// For "RadioPickerSegue" the list and its kind, if there is a list.
  std::optional<PlistValue> contextForSegueWithIdentifier(std::string_view identifier) override;

  void reloadData(bool fetchImages);
  void radioImageFetched();

 private:
  bool takeStoredStations();
};

}  // namespace tunevale
