#pragma once

#include <algorithm>
#include <optional>

#include "foundation/PlistDictionary.h"
#include "foundation/PropertyList.h"
#include "link/Crypto.h"
#include "link/Frame.h"
#include "link/LinkLimits.h"

namespace tunevale::link {

/// Collects frames for one write.
class FrameWriter {
 public:
  explicit FrameWriter(Bytes& out) : out_(out) {}
  void add(FrameType type, std::uint64_t id, ByteView body = {}, std::uint8_t flags = kCriticalFrame) {
    appendFrame(out_, {type, flags, id, body});
  }
  void add(FrameType type, std::uint64_t id, const PlistDictionary& body) {
    add(type, id, writePropertyList(body));
  }

 private:
  Bytes& out_;
};

/// The dictionary in a frame's body; an empty body is an empty dictionary, nothing is what does not decode.
inline std::optional<PlistDictionary> readBody(ByteView body) {
  if (body.empty()) return PlistDictionary{};
  const std::optional<PlistValue> value = readPropertyList(body);
  const PlistDictionary* dictionary = value ? value->dictionary() : nullptr;
  return dictionary != nullptr ? std::optional(*dictionary) : std::nullopt;
}

/// Whether a dictionary in a body of so many bytes takes more than `most` by itself.
inline bool isLargerThan(std::size_t most, const PlistDictionary& payload, std::size_t body) {
  return body > most && writePropertyList(payload).size() > most;
}

/// A whole number that is not negative; 0 for everything else.
inline std::uint64_t numberIn(const PlistDictionary& body, std::string_view key) {
  const PlistValue* value = body.find(key);
  const std::int64_t number = value != nullptr ? value->integer().value_or(0) : 0;
  return number > 0 ? static_cast<std::uint64_t>(number) : 0;
}

/// The same; nothing for everything else.
inline std::optional<std::uint64_t> wholeNumberIn(const PlistDictionary& body, std::string_view key) {
  const PlistValue* value = body.find(key);
  const std::optional<std::int64_t> number = value != nullptr ? value->integer() : std::nullopt;
  return number && *number >= 0 ? std::optional(static_cast<std::uint64_t>(*number)) : std::nullopt;
}

/// Nothing when there are no bytes under the key.
inline std::optional<ByteView> bytesIn(const PlistDictionary& body, std::string_view key) {
  const PlistValue* value = body.find(key);
  return value != nullptr ? value->bytes() : std::nullopt;
}

/// A hash, a nonce or a proof; nothing when there is something else.
inline std::optional<Bytes32> bytes32In(const PlistDictionary& body, std::string_view key) {
  const ByteView bytes = bytesIn(body, key).value_or(ByteView{});
  std::optional<Bytes32> result;
  if (bytes.size() == sizeof(Bytes32)) std::copy(bytes.begin(), bytes.end(), result.emplace().begin());
  return result;
}

/// Numbers of rows, versions and sizes stay far below what a property list's integers hold.
inline PlistValue asNumber(std::uint64_t number) {
  return static_cast<std::int64_t>(number);
}

}  // namespace tunevale::link
