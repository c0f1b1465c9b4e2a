#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "foundation/PlistValue.h"

namespace tunevale {

/// Keyed archives of property-list values: a binary property list with `$archiver` "NSKeyedArchiver",
/// `$version` 100000, `$top`/`root` and the object table `$objects`.
///
/// Decodes the root object. Nothing for bytes that are no such archive, are broken, cyclic or past the limits
/// of readPropertyList(). Objects of a class other than dictionary, array, string, data, number and null (and
/// their mutable kinds) become null. Any thread.
std::optional<PlistValue> unarchiveObjectWithData(ByteView archive);

/// The same for a value that may be anything: what is not bytes decodes to nothing.
std::optional<PlistValue> unarchiveObjectWithData(const PlistValue* stored);

/// Encodes a value as an archive that decodes to an equal value. Any thread.
Bytes archivedDataWithRootObject(const PlistValue& root);

}  // namespace tunevale
