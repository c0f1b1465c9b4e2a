#pragma once

#include "foundation/BinaryWriter.h"

namespace tunevale {

/// The object for a value that is no container.
inline BinaryWriter::Index writeLeaf(BinaryWriter& writer, const PlistValue& value) {
  switch (value.kind()) {
    case PlistValue::Kind::boolean:
      return writer.boolean(*value.boolean());
    case PlistValue::Kind::integer:
      return writer.integer(*value.integer());
    case PlistValue::Kind::real:
      return writer.real(*value.real());
    case PlistValue::Kind::string:
      return writer.text(*value.string());
    case PlistValue::Kind::bytes:
      return writer.data(asText(*value.bytes()));
    default:
      return writer.null();
  }
}

}  // namespace tunevale
