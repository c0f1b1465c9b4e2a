#pragma once

#include "core/ExtensionDelegate.h"
#include "foundation/KeyedArchive.h"
#include "screens/PlayerInterfaceController.h"
#include "support/ScreenHarness.h"

namespace tunevale::test {

/// With the extension's delegate in place.
struct ExtensionTest : ScreenTest {
  ExtensionTest() { world.platform.sharedExtension.setDelegate(&delegate); }
  /// As the application context leaves it, the one form that screens read.
  void storeChart(const PlistArray& songs) {
    defaults.setObject(PlistValue(archivedDataWithRootObject(songs)), kReceiveWeeklyTop15Data);
  }
  ExtensionDelegate delegate{world.platform};
};

using PlayerScreen = ShownScreen<PlayerInterfaceController>;

struct PlayerTest : ExtensionTest {
  std::unique_ptr<PlayerScreen> makePlayer() {
    return std::make_unique<PlayerScreen>(
        world.platform, host,
        std::map<std::string, std::string>{
            {"prevButton", "prevSong"}, {"playButton", "playSong"}, {"nextButton", "nextSong"}});
  }
  std::unique_ptr<PlayerScreen> playerHolder = makePlayer();
  PlayerScreen& player = *playerHolder;

  std::string title() { return player->songTitleLabel->text(); }
  std::string meta() { return player->songMetaLabel->text(); }
  std::string playImage() { return player->playButton->backgroundImage().name; }
  bool buttonsAre(bool enabled) {
    return player->prevButton->isEnabled() == enabled && player->playButton->isEnabled() == enabled &&
           player->nextButton->isEnabled() == enabled;
  }
};

inline PlistDictionary song(const char* title) {
  return {{"title", title}};
}

}  // namespace tunevale::test
