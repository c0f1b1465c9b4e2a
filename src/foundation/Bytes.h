#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace tunevale {

/// Owned bytes, and a borrowed look at bytes owned by somebody else.
using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

/// The bytes of a text; valid as long as the text's storage.
inline ByteView asBytes(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

/// The same storage seen as characters. Says nothing about the encoding.
inline std::string_view asText(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace tunevale
