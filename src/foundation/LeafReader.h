#pragma once

#include "foundation/BinaryObjects.h"
#include "foundation/PlistValue.h"

// Leaves of a binary property list as values; for foundation's own decoders.
namespace tunevale {

/// An integer of 1, 2 or 4 bytes is unsigned, one of 8 or 16 signed; null when 64 signed bits cannot hold it.
PlistValue integerLeaf(const BinaryObjects::Object& object);
PlistValue realLeaf(const BinaryObjects::Object& object);
/// An ASCII object (bytes past ASCII are read as UTF-8) or a UTF-16 one; a lone surrogate becomes U+FFFD.
PlistString textLeaf(const BinaryObjects::Object& object);
PlistValue dataLeaf(const BinaryObjects::Object& object);

}  // namespace tunevale
