#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "foundation/PlistValue.h"

namespace tunevale {

/// Binary property lists ("bplist00": the format that CoreFoundation's CFBinaryPList.c documents).
///
/// Reads a property list. Nothing for input that is truncated, cyclic, nested deeper than 64, expands past
/// the limits in PropertyListLimits.h, or is not a property list at all. A leaf of a kind that PlistValue
/// lacks (a date, an archive reference, a set, an integer past 64 signed bits) reads as null beside its
/// usable neighbours; an entry whose key is no string is skipped, of entries with one key the last wins.
/// Takes time and memory linear in the input's size. Any thread.
std::optional<PlistValue> readPropertyList(ByteView input);
/// The same for what this program has written itself: it may stand for kMostNodes values however short it is.
std::optional<PlistValue> readOwnPropertyList(ByteView input);

/// Writes a property list that reads back equal, as long as the value keeps to the limits of reading: what is
/// nested deeper than 64 goes out as null, and a value of more parts than PropertyListLimits.h allows cannot
/// be read back. Equal values give equal bytes, however they came about: equal parts are written once, and
/// reals that single precision holds exactly take four bytes. Any thread.
Bytes writePropertyList(const PlistValue& value);
/// The same, or nothing for what is nested deeper.
std::optional<Bytes> writeWholePropertyList(const PlistValue& value);

}  // namespace tunevale
