#pragma once

#include "core/ExtensionDelegate.h"
#include "foundation/KeyedArchive.h"
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

}  // namespace tunevale::test
