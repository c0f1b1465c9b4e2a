#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/Bytes.h"

namespace tunevale {

/// Base 64 with padding and no line breaks (RFC 4648, section 4). Any thread.
std::string toBase64(ByteView bytes);
/// Nothing for anything that toBase64() would not have written.
std::optional<Bytes> fromBase64(std::string_view text);

}  // namespace tunevale
