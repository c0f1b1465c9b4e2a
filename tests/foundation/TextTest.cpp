#include <gtest/gtest.h>

#include "foundation/Description.h"
#include "foundation/Text.h"

namespace tunevale {
namespace {

TEST(Text, ReplacesEachIllFormedSequence) {
  const std::pair<const char*, const char*> cases[] = {
      {"plain é नी 😀\uD7FF\uE000\U0010FFFF", "plain é नी 😀\uD7FF\uE000\U0010FFFF"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},  // overlong
      {"\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // past U+10FFFF
      {"\xF5\x80\xFF", "\uFFFD\uFFFD\uFFFD"},
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "\uFFFD\uFFFD\uFFFD\uFFFD\x41"},  // cut short
      {"eight by\x80", "eight by\uFFFD"},
      {"abcdefgh\xC3", "abcdefgh\uFFFD"}};
  for (const auto& [raw, text] : cases) {
    EXPECT_EQ(sanitizedUtf8(raw), text);
    EXPECT_EQ(PlistString(raw).view(), text);
    EXPECT_EQ(isValidUtf8(raw), std::string_view(raw) == text) << text;
    EXPECT_TRUE(isValidUtf8(text)) << text;
  }
}

TEST(Text, CountsAndCutsInUtf16Units) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("aéनी😀"), 6U);
  const char* left[] = {"aन😀", "aन", "aन", "a", "", ""};  // a pair goes as a whole
  for (std::size_t units = 0; units < 6; ++units) EXPECT_EQ(dropLastUtf16("aन😀", units), left[units]);
}

TEST(Description, ShowsEveryKind) {
  const PlistArray list{PlistValue(),     true, 0.5, 7, "two words", "", asBytes("hi"), PlistArray{},
                        PlistDictionary{}};
  EXPECT_EQ(description(PlistDictionary{{"list", list}, {"request", "success"}}),
            "{list = (<null>, 1, 0.5, 7, \"two words\", \"\", {length = 2, bytes = 0x6869}, (), {}); request "
            "= success; }");
  EXPECT_EQ(description(static_cast<const PlistValue*>(nullptr)), "(null)");
  EXPECT_EQ(description(PlistValue("plain text")), "plain text");
  for (const int length : {16, 17}) {
    EXPECT_EQ(description(Bytes(static_cast<std::size_t>(length), std::byte{1})),
              "{length = " + std::to_string(length) + ", bytes = 0x01010101010101010101010101010101" +
                  (length == 16 ? "}" : " ...}"));
  }
}

TEST(Description, CannotForgeALine) {
  EXPECT_EQ(description("a\nfake: \x1B[31m\r\u2028\u202E\u0085\x7F"),
            "a\\nfake: \\u{1b}[31m\\r\\u{2028}\\u{202e}\\u{85}\\u{7f}");
  EXPECT_EQ(description(PlistDictionary{{"k\n", "a\"; b = \\"}}), "{\"k\\n\" = \"a\\\"; b = \\\\\"; }");
  EXPECT_EQ(description("\xFF"), "\uFFFD");
}

TEST(Description, StaysShort) {
  const std::string longText(10000, 'x');
  PlistArray bomb{longText};
  for (int i = 0; i < 60; ++i) bomb = PlistArray{bomb, bomb};
  for (const std::string& text :
       {description(longText), description(PlistValue(longText)), description(bomb),
        description(PlistArray{Bytes(10000)}), description(PlistDictionary{{longText, 1}})}) {
    EXPECT_LE(text.size(), 4096U);
    EXPECT_TRUE(isValidUtf8(text));
  }
  EXPECT_TRUE(description(longText).ends_with("x…"));
  std::string multibyte;
  for (int i = 0; i < 3000; ++i) multibyte += "é";
  EXPECT_TRUE(isValidUtf8(description(multibyte)));
}

}  // namespace
}  // namespace tunevale
