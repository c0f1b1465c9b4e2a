#include "host/UnicodeCase.h"

#include <utf8proc.h>

#include "foundation/Text.h"

namespace tunevale::host {

namespace {

constexpr char32_t kCapitalDottedI = 0x130;
constexpr char32_t kSharpS = 0xDF;
constexpr char32_t kCapitalSigma = 0x3A3;
constexpr char32_t kFinalSigma = 0x3C2;

// One character of a valid text, and how many bytes it takes; none at the end.
struct Step {
  char32_t character = 0;
  std::size_t length = 0;
};

Step stepAt(std::string_view text, std::size_t at) {
  if (at >= text.size()) return {};
  utf8proc_int32_t character = 0;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at);
  const utf8proc_ssize_t length =
      utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - at), &character);
  return {static_cast<char32_t>(character), static_cast<std::size_t>(length)};
}

void append(std::string& out, utf8proc_int32_t character) {
  utf8proc_uint8_t bytes[4];
  const utf8proc_ssize_t length = utf8proc_encode_char(character, bytes);
  out.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

utf8proc_category_t categoryOf(char32_t c) {
  return utf8proc_category(static_cast<utf8proc_int32_t>(c));
}

bool isLetter(char32_t c) {
  const utf8proc_category_t category = categoryOf(c);
  return category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_LO;
}

bool isMark(char32_t c) {
  const utf8proc_category_t category = categoryOf(c);
  return category >= UTF8PROC_CATEGORY_MN && category <= UTF8PROC_CATEGORY_ME;
}

bool isWhiteSpace(char32_t c) {
  return isNewline(c) || isBlank(c);
}

bool letterFollows(std::string_view text, std::size_t at) {
  Step next = stepAt(text, at);
  while (next.length > 0 && isMark(next.character)) next = stepAt(text, at += next.length);
  return next.length > 0 && isLetter(next.character);
}

void appendTitle(std::string& out, char32_t c) {
  if (c == kSharpS) {
    out += "Ss";
  } else {
    append(out, utf8proc_totitle(static_cast<utf8proc_int32_t>(c)));
  }
}

void appendLower(std::string& out, char32_t c, bool endsWord) {
  if (c == kCapitalDottedI) {
    out += "i\u0307";
  } else if (c == kCapitalSigma && endsWord) {
    append(out, kFinalSigma);
  } else {
    append(out, utf8proc_tolower(static_cast<utf8proc_int32_t>(c)));
  }
}

std::string mapped(std::string_view utf8, bool titleFirst) {
  const std::string text = sanitizedUtf8(utf8);
  std::string out;
  out.reserve(text.size());
  bool startsWord = true;
  bool afterLetter = false;
  for (std::size_t at = 0; at < text.size();) {
    const auto [c, length] = stepAt(text, at);
    at += length;
    if (titleFirst && startsWord) {
      appendTitle(out, c);
    } else {
      appendLower(out, c, c == kCapitalSigma && afterLetter && !letterFollows(text, at));
    }
    startsWord = isWhiteSpace(c);
    if (!isMark(c)) afterLetter = isLetter(c);
  }
  return out;
}

}  // namespace

std::string UnicodeCase::lowercaseString(std::string_view utf8) {
  return mapped(utf8, false);
}

std::string UnicodeCase::capitalizedString(std::string_view utf8) {
  return mapped(utf8, true);
}

}  // namespace tunevale::host
