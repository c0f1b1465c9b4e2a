#include "screens/SongRowController.h"

#include "core/ExtensionDelegate.h"
#include "foundation/Description.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceLabel.h"
#include "screens/PlaylistInterfaceController.h"

namespace tunevale {

void SongRowController::connect(Connections& connections) {
  connections.outlet("songName", songName);
  connections.outlet("songMeta", songMeta);
  connections.outlet("playButton", playButton);
  connections.outlet("downloadButton", downloadButton);
  connections.action("downloadSong", [this] { downloadSong(); });
}

void SongRowController::downloadSong() {
  if (!parent) return;
  Platform& platform = parent->platform();
  platform.log.write("Selected Song:" + description(songData));
  ExtensionDelegate::shared(platform).downloadSong(songData, *parent);
}

}  // namespace tunevale
