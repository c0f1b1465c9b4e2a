#pragma once

#include "foundation/PlistValue.h"

namespace tunevale::bench {

/// A chart record of so many songs with the fields that a catalogue sends: the same every time, each song
/// with texts of its own and artists that recur.
PlistDictionary chart(int songs);

}  // namespace tunevale::bench
