#pragma once

#include <cstdint>
#include <vector>

#include "platform/WKInterfaceController.h"
#include "platform/WKInterfacePicker.h"

namespace tunevale {

class WKInterfaceGroup;
class WKInterfaceLabel;

/// The station picker: the crown flips through stations with their artwork, the play button starts the
/// selected one on the phone. It takes up new artwork until it is deactivated for the first time, and not
/// again after that. Main queue.
class RadioInterfaceController : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;

  std::int32_t type = 0;  // kFeaturedStations or kArtistStations
  WKInterfaceGroup* pickerGroup = nullptr;
  WKInterfaceGroup* infoGroup = nullptr;
  WKInterfacePicker* radioPicker = nullptr;
  WKInterfaceLabel* titleLabel = nullptr;
  WKInterfaceLabel* metaLabel = nullptr;
  WKInterfaceGroup* backgroundGroup = nullptr;
  WKInterfaceGroup* playButtonGroup = nullptr;
  /// A hostile list offers no more than WatchUtil::kMostRows items.
  PlistArray dataSource;
  std::vector<WKPickerItem> radioPickerItems;

  void connect(Connections& connections) override;
  /// The context has the stations under "dataSource", their kind under "type" and optionally the one to start
  /// with under "currentIndex", a string. Without stations the screen stays empty.
  void awakeWithContext(const PlistValue* context) override;
  void willActivate() override;
  void didDeactivate() override;

  /// Builds every item anew and keeps the place. Looks for the file of artwork that is not in memory.
  void reloadData();
  void pickerChanged(std::uint32_t index);
  /// Starts the selected station, if the phone is ready; what it answers is only logged.
  void playRadio();

 private:
  void radioImageFetched();
  void setContentImage(WKPickerItem& item, std::size_t index, ImagePtr image);

  bool reloadIsQueued_ = false;  // after a reload: whatever is announced until then waits for it
  bool reloadIsOwed_ = false;
  std::uint32_t currentIndex_ = 0;  // of dataSource; the context may name one past its end
};

}  // namespace tunevale
