#pragma once

#include <memory>

#include "foundation/PlistDictionary.h"
#include "platform/RowController.h"

namespace tunevale {

class PlaylistInterfaceController;
class WKInterfaceButton;
class WKInterfaceLabel;

/// One song of the playlist screen, row type "SongRow". Main queue.
class SongRowController : public RowController {
 public:
  void connect(Connections& connections) override;

  WKInterfaceLabel* songName = nullptr;
  WKInterfaceLabel* songMeta = nullptr;
  WKInterfaceLabel* playButton = nullptr;  // a mark only: selecting the row plays
  WKInterfaceButton* downloadButton = nullptr;

  PlistDictionary songData;
  /// Held: whoever shows the screen closes its tables when it is left.
  std::shared_ptr<PlaylistInterfaceController> parent;

  void downloadSong();
};

}  // namespace tunevale
