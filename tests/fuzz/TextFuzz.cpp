// The promises that the text helpers make about any bytes at all.
#include <cstdint>
#include <cstdlib>

#include "foundation/Description.h"
#include "foundation/Text.h"
#include "tagged/TaggedJson.h"

using namespace tunevale;

static void require(bool condition) {
  if (!condition) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view raw(reinterpret_cast<const char*>(data), size);
  const std::string text = sanitizedUtf8(raw);
  require(isValidUtf8(text));
  require(isValidUtf8(raw) == (text == raw));
  require(PlistString(raw).view() == text);

  const std::size_t length = utf16Length(text);
  const std::size_t cut = length / 2;
  const std::string_view shorter = dropLastUtf16(text, cut);
  require(isValidUtf8(shorter) && text.starts_with(shorter));
  require(utf16Length(shorter) + cut <= length && utf16Length(shorter) + cut + 1 >= length);
  require(isValidUtf8(trimmed(text, isBlank)) && isValidUtf8(trimmed(text, isNewline)));

  const std::string line = description(raw);
  require(isValidUtf8(line) && line.size() <= 4096);
  for (const char c : line) require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
  (void)integerValue(raw);

  std::string error;
  const auto value = fromTaggedJsonText(raw, error);
  require(value.has_value() == error.empty());
  if (value) require(fromTaggedJsonText(toTaggedJsonText(*value), error) == value);
  require(error.find('\n') == std::string::npos);
  return 0;
}
