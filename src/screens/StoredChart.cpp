#include "screens/StoredChart.h"

#include "foundation/KeyedArchive.h"
#include "platform/Platform.h"
#include "util/TextCleaning.h"
#include "util/ValueChecks.h"
#include "vocabulary/PhoneVocabulary.h"

namespace tunevale {

PlistArray storedWeeklyTop15(Platform& platform) {
  const auto stored = platform.standardUserDefaults.objectForKey(kReceiveWeeklyTop15Data);
  const auto songs = unarchiveObjectWithData(valueOrNull(stored));
  return WatchUtil::arrayOrEmpty(valueOrNull(songs));
}

std::string capitalizedUserLanguage(Platform& platform) {
  const auto language = platform.standardUserDefaults.objectForKey(kUserLanguage);
  return platform.letterCase.capitalizedString(WatchUtil::textToClean(valueOrNull(language)));
}

}  // namespace tunevale
