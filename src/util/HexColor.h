#pragma once

#include "foundation/PlistValue.h"
#include "platform/Color.h"

/// Pure, any thread.
namespace tunevale::WatchUtil {

/// The colour of six hexadecimal digits, two each for red, green and blue, with `withAlpha` (0 to 1) as it is
/// given. Blanks and line breaks around, every "#", one "0x" before six digits and the letters' case do not
/// matter. A pair of characters counts up to its first that is no digit: 0 when that is its first.
///
/// Black, opaque, for "" and for what is no string; the grey of 62 in 255, opaque, for any other length.
Color getColorFromHex(const PlistValue* hex, float withAlpha);
/// Opaque.
Color getColorFromHex(const PlistValue* hex);

}  // namespace tunevale::WatchUtil
