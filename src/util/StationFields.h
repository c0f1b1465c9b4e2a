#pragma once

#include "foundation/PlistValue.h"

/// The fields of a radio station's record, as they are stored and of whatever kind; nothing when the record
/// or the field is missing. They live as long as the record. Pure, any thread.
namespace tunevale::WatchUtil {

const PlistValue* getTitleForRadioStation(const PlistValue* station) noexcept;
/// Where the phone has the artwork.
const PlistValue* getImageUrlForRadioStation(const PlistValue* station) noexcept;
/// For getColorFromHex().
const PlistValue* getColorForRadioStation(const PlistValue* station) noexcept;
const PlistValue* getLanguageForRadioStation(const PlistValue* station) noexcept;

}  // namespace tunevale::WatchUtil
