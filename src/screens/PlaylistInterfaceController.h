#pragma once

#include <string>

#include "foundation/PlistArray.h"
#include "platform/NotificationCenter.h"
#include "platform/WKInterfaceController.h"

namespace tunevale {

class WKInterfaceGroup;
class WKInterfaceImage;
class WKInterfaceLabel;

/// The "Weekly Top 15": a header, a play-all button and a row for each song. It follows new charts and
/// artwork until it is deactivated for the first time, and not again after that. Main queue.
class PlaylistInterfaceController : public WKInterfaceController {
 public:
  using WKInterfaceController::WKInterfaceController;

  WKInterfaceTable* playlistTable = nullptr;
  WKInterfaceImage* playlistImage = nullptr;
  WKInterfaceGroup* backgroundGroup = nullptr;
  WKInterfaceLabel* languageLabel = nullptr;
  WKInterfaceGroup* playButtonGroup = nullptr;

  /// In chart order; sent whole, although a hostile list shows no more than WatchUtil::kMostRows rows.
  PlistArray songs;

  void connect(Connections& connections) override;
  /// The songs are the context's "dataSource", else the stored chart; without either the phone is asked.
  void awakeWithContext(const PlistValue* context) override;
  void willActivate() override;
  void didDeactivate() override;
  void tableDidSelectRowAtIndex(WKInterfaceTable& table, std::size_t rowIndex) override;

  /// Takes a new chart. The header is left as it was, with its number of songs.
  void updateDataSource(const Notification& notification);
  void updatePlaylistHeader();
  void reloadData();
  /// Asks the phone which songs it has cached; they need no download button.
  void updateCacheButton();
  void playAllPressed();
  /// Asks the phone, if it is ready, to play from a row of the chart, and opens the player when it agrees.
  void playSongAtIndex(int index);
  std::string convertHTMLEntities(const PlistValue* text) const;
};

}  // namespace tunevale
