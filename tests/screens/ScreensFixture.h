#pragma once

#include "core/ExtensionDelegate.h"
#include "foundation/KeyedArchive.h"
#include "screens/PlayerInterfaceController.h"
#include "support/ScreenHarness.h"

namespace tunevale::test {

/// With the extension's delegate in place.
struct ExtensionTest : ScreenTest {
  ExtensionTest() { world.platform.sharedExtension.setDelegate(&delegate); }
  /// In the one form that screens read.
  void storeChart(const PlistArray& songs) {
    defaults.setObject(PlistValue(archivedDataWithRootObject(songs)), kReceiveWeeklyTop15Data);
  }
  static PlistDictionary song(const char* title) { return {{"title", title}}; }

  ExtensionDelegate delegate{world.platform};
};

struct PlayerTest : ExtensionTest {
  using Player = ShownScreen<PlayerInterfaceController>;
  /// "TITLE|META|IMAGE OF THE PLAY BUTTON|MODE", and "|placeholder" where that is shown.
  static std::string shown(const Player& screen) {
    return screen->songTitleLabel->text() + "|" + screen->songMetaLabel->text() + "|" +
           screen->playButton->backgroundImage().name + "|" + std::to_string(screen->mode()) +
           (screen->showingPlaceholder() ? "|placeholder" : "");
  }
  std::string shown() { return shown(player); }

  Player player{world.platform, host};
};

}  // namespace tunevale::test
