#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "foundation/PlistValue.h"

namespace tunevale {

/// Keyed archives of property-list values: a binary property list with `$archiver` "NSKeyedArchiver",
/// `$version` 100000, `$top`/`root` and the object table `$objects`.
///
/// Decodes the root object. Nothing for bytes that are no such archive, are broken, cyclic or past the limits
/// of readPropertyList(). Objects of a class other than dictionary, array, string, data and null (and their
/// mutable kinds) become null, and so does a reference to `$null`, the root included. A dictionary's entry
/// whose key is no string is skipped. What the archive shares, the value shares. Any thread.
std::optional<PlistValue> unarchiveObjectWithData(ByteView archive);

/// The same for a value that may be anything: what is not bytes decodes to nothing.
std::optional<PlistValue> unarchiveObjectWithData(const PlistValue* stored);

/// Encodes a value as an archive that decodes to an equal value, with the promises and the cut at 64 levels
/// of writePropertyList(). Immutable classes only; strings, numbers and bytes bare, null as an NSNull. Any
/// thread.
Bytes archivedDataWithRootObject(const PlistValue& root);

}  // namespace tunevale
