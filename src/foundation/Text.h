#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tunevale {

/// UTF-8 text helpers that need no tables beyond a few ranges. All pure; any thread.

/// The text with every ill-formed sequence replaced by U+FFFD (Unicode, "maximal subpart" practice).
std::string sanitizedUtf8(std::string_view text);
bool isValidUtf8(std::string_view text);

/// Length in UTF-16 code units, which is how the platform counts characters.
std::size_t utf16Length(std::string_view utf8);
/// The text without its last `units` UTF-16 code units; a pair that the cut would split goes as a whole. ""
/// when the text is no longer than that.
std::string_view dropLastUtf16(std::string_view utf8, std::size_t units);

/// U+000A to U+000D, U+0085, U+2028, U+2029.
bool isNewline(char32_t c);
/// Tab and the Unicode space separators (category Zs).
bool isBlank(char32_t c);
/// The text without leading and trailing characters that satisfy the test.
std::string_view trimmed(std::string_view utf8, bool (*test)(char32_t));

/// The whole number at the start of a text after blanks and a sign; 0 when there is none; saturates.
std::int64_t integerValue(std::string_view text);

/// Every occurrence of `from` (not empty) replaced by `to`, left to right, once over.
std::string replacingAll(std::string_view text, std::string_view from, std::string_view to);

}  // namespace tunevale
