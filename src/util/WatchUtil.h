#pragma once

/// The helpers that every room above uses on the phone's loosely typed data. A value that may be anything, or
/// may not be there, is passed as `const PlistValue*`. Getters never fail: they answer the empty text, an
/// empty collection, nothing or a fixed default.
#include "util/Alerts.h"
#include "util/ArtistMetadata.h"
#include "util/CachedImages.h"
#include "util/HexColor.h"
#include "util/SongMetadata.h"
#include "util/StationFields.h"
#include "util/TextCleaning.h"
#include "util/ValueChecks.h"
