#include "link/KeyHash.h"

namespace tunevale::link {
namespace {

template <class Value>
std::string hex(const Value& value, std::size_t count) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const auto byte = std::to_integer<unsigned>(value[i]);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15U];
  }
  return text;
}

int digit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return -1;
}

template <class Value>
std::optional<Value> fromHex(std::string_view text) {
  Value value{};
  if (text.size() != 2 * value.size()) return std::nullopt;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const int high = digit(text[2 * i]);
    const int low = digit(text[2 * i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    value[i] = static_cast<std::byte>(16 * high + low);
  }
  return value;
}

}  // namespace

std::string toHex(const KeyHash& hash) {
  return hex(hash, hash.size());
}

std::string toHex(const PairingToken& token) {
  return hex(token, token.size());
}

std::optional<KeyHash> keyHashFromHex(std::string_view text) {
  return fromHex<KeyHash>(text);
}

std::optional<PairingToken> tokenFromHex(std::string_view text) {
  return fromHex<PairingToken>(text);
}

std::string fingerprint(const KeyHash& hash) {
  std::string text = hex(hash, 8);
  for (const std::size_t place : {12U, 8U, 4U}) text.insert(place, 1, ' ');
  return text;
}

}  // namespace tunevale::link
