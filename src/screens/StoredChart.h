#pragma once

#include <string>

#include "foundation/PlistArray.h"

namespace tunevale {

struct Platform;

/// The songs of the stored "Weekly Top 15"; empty when none are stored in the form that screens read, a keyed
/// archive of the list. Any thread.
PlistArray storedWeeklyTop15(Platform& platform);

/// The stored content language with its words capitalised; "" when there is none. Any thread.
std::string capitalizedUserLanguage(Platform& platform);

}  // namespace tunevale
