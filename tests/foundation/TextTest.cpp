#include <gtest/gtest.h>

#include "foundation/Description.h"
#include "foundation/Text.h"

namespace tunevale {
namespace {

TEST(Text, ReplacesEachIllFormedSequence) {
  EXPECT_EQ(sanitizedUtf8("plain é नी 😀"), "plain é नी 😀");
  EXPECT_EQ(sanitizedUtf8("\xC0\xAF"), "\uFFFD\uFFFD");                      // overlong
  EXPECT_EQ(sanitizedUtf8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");            // a surrogate
  EXPECT_EQ(sanitizedUtf8("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");  // past U+10FFFF
  EXPECT_EQ(sanitizedUtf8("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"),
            "\uFFFD\uFFFD\uFFFD\uFFFD\x41");  // cut short
  EXPECT_EQ(sanitizedUtf8("eight by\x80"), "eight by\uFFFD");
  for (const char* broken : {"\x80", "\xC3", "abcdefgh\xC3", "\xE0\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
    EXPECT_FALSE(isValidUtf8(broken)) << broken;
    EXPECT_TRUE(isValidUtf8(sanitizedUtf8(broken)));
  }
  EXPECT_TRUE(isValidUtf8("\uD7FF\uE000\U0010FFFF"));
}

TEST(Text, CountsAndCutsInUtf16Units) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("aéनी😀"), 6U);
  EXPECT_EQ(dropLastUtf16("aé😀", 2), "aé");
  EXPECT_EQ(dropLastUtf16("aé😀", 1), "aé");  // a pair goes as a whole
  EXPECT_EQ(dropLastUtf16("aé😀", 3), "a");
  EXPECT_EQ(dropLastUtf16("abc", 0), "abc");
  EXPECT_EQ(dropLastUtf16("abc", 9), "");
}

TEST(Description, ShowsEveryKind) {
  const PlistDictionary reply{{"request", "success"}, {"level", 7}};
  EXPECT_EQ(description(reply), "{level = 7; request = success; }");
  const PlistValue list =
      PlistArray{PlistValue(), true, 0.5, "two words", "", asBytes("hi"), PlistArray{}, PlistDictionary{}};
  EXPECT_EQ(description(list), "(<null>, 1, 0.5, \"two words\", \"\", {length = 2, bytes = 0x6869}, (), {})");
  EXPECT_EQ(description(static_cast<const PlistValue*>(nullptr)), "(null)");
  EXPECT_EQ(description(PlistValue("plain text")), "plain text");
  EXPECT_EQ(description(Bytes(20, std::byte{1})),
            "{length = 20, bytes = 0x01010101010101010101010101010101 ...}");
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
