#include <vector>

#include <gtest/gtest.h>

#include "foundation/Description.h"
#include "util/ArtworkPath.h"
#include "util/HexColor.h"
#include "util/TextCleaning.h"
#include "util/ValueChecks.h"
#include "util/WrongKinds.h"

namespace tunevale {
namespace {

using namespace WatchUtil;

TEST(ValueChecks, EmptyBytesAreDataAndAnyOtherEmptyValueIsNothing) {
  const PlistValue empty[] = {PlistValue(), false, 12, 1.5, "", PlistArray(), PlistDictionary(), Bytes()};
  for (const PlistValue& value : empty) {
    EXPECT_FALSE(isNonEmptyString(&value) || isNonEmptyArray(&value) || isNonEmptyDictionary(&value));
    EXPECT_EQ(isNonEmptyData(&value), value == PlistValue(Bytes()));
  }
}

TEST(HexColor, ReadsSixDigitsHoweverTheyAreDressed) {
  const Color orange = Color::colorWithRed(1.0F, 128.0F / 255.0F, 0.0F, 1.0F);
  const Color grey = Color::colorWithRed(0.24313726F, 0.24313726F, 0.24313726F, 1.0F);
  const std::pair<Color, std::vector<PlistValue>> cases[] = {
      // The signs go before the prefix is looked for.
      {orange, {"#FF8000", "  0xff8000 ", "ff#80#00", "\n0XFF8000\u00A0", "#0xfF8000", "0#xFF8000"}},
      // "0xFF80" is six characters of which the prefix is two; the last are seven UTF-16 units, though six
      // letters.
      {grey, {"#FFF", "#FF800", "#FF800080", "0xFF80", "FF80 00", "     ", "######", "\U0001F3B5FFFFF"}},
      {Color::blackColor(), {"ZZZZZZ", "", 12}},
      {Color::ofBytes(0, 0, 15), {"0GG0FG"}},
      {Color::ofBytes(1, 0, 0), {"1Z-1+1"}},
      {Color::ofBytes(0, 255, 255), {"\u00E9FFFFF", "\U0001F3B5FFFF"}}};  // one UTF-16 unit, and two
  for (const auto& [color, texts] : cases) {
    for (const PlistValue& text : texts) EXPECT_EQ(getColorFromHex(&text), color) << description(text);
  }
  // The alpha is for good colours only.
  const PlistValue good("#2BAB48"), bad("ZZZ");
  EXPECT_EQ(getColorFromHex(&good, 0.5F), Color::ofBytes(0x2B, 0xAB, 0x48, 0.5F));
  EXPECT_EQ(getColorFromHex(&bad, 0.5F), grey);
  EXPECT_EQ(getColorFromHex(nullptr, 0.5F), Color::blackColor());
}

TEST(TrimWhitespace, TakesLineBreaksThenBlanksOnceEach) {
  const std::pair<const char*, const char*> cases[] = {
      {"  Song\n", "Song"},
      {" \n x", "\n x"},  // the blank at the front shields the line break
      {"x \n\t", "x \n"},
      {"\n\r\u0085\u2028\u2029\v\fx\n", "x"},
      {"\n\t\u00A0\u3000\u2003a  b\u1680 \n", "a  b"},
      {"\u200B", "\u200B"},  // no space separator
      {"   ", ""},
      {"\n\n", ""},
      {"", ""},
      {" \u0BA4\u0BAE\u0BBF\u0BB4\u0BCD ", "\u0BA4\u0BAE\u0BBF\u0BB4\u0BCD"},
  };
  for (const auto& [text, trimmed] : cases) {
    const PlistValue value(text);
    EXPECT_EQ(trimWhitespace(&value), trimmed) << '"' << text << '"';
  }
}

TEST(ConvertHTMLEntities, ReplacesInItsOwnOrder) {
  const std::pair<const char*, const char*> cases[] = {
      {"Tom &amp;amp; Jerry &Amp; a&#38;b&#038;c", "Tom & Jerry & a&b&c"},
      {"&nbsp;|it#039;s&#39;&#039;&lsquo;&rsquo;", " |it's''''"},
      {"a&#160;b|1&ndash;2", "a& b|1-2"},
      {"&quot;&Quot;&gt;&lt;", "\"\"><"},
      {"&amp;lt;&amp;quot;&amp;#039;&lt;&amp;gt;", "<\"'<>"},
      {"&amp;amp;amp;lt;", "<"},
      {"&amp;amp;amp;amp;amp;lt;", "&amp;amp;lt;"},  // a step does not search what it has just written
      {"&#38;amp;", "&amp;"},                        // an ampersand that comes after its step stays
      {"&am&amp;p;", "&am&p;"},                      // replaced text is not searched again by the same step
      {"&AMP; &QUOT; &Nbsp; &apos; &#8211; &amp", "&AMP; &QUOT; &Nbsp; &apos; &#8211; &amp"},
      {"\u0926\u093F\u0932 &amp; \u0BAE\u0BA9\u0BAE\u0BCD", "\u0926\u093F\u0932 & \u0BAE\u0BA9\u0BAE\u0BCD"},
      {"", ""},
  };
  for (const auto& [text, converted] : cases) EXPECT_EQ(convertHTMLEntities(text), converted) << text;
}

TEST(Cleaning, ChangesOnlySpacesForAFileNameAndHasNothingForOtherKinds) {
  EXPECT_EQ(getValidFileNameForRadio("Top  Hits 2"), "Top__Hits_2_image.png");
  EXPECT_EQ(getValidFileNameForRadio("a/b..C\td"), "a/b..C\td_image.png");
  EXPECT_EQ(getValidFileNameForRadio(""), "");
  for (const PlistValue& value : test::oneOfEachKind()) {
    const PlistValue* other = value.string() ? nullptr : &value;
    EXPECT_EQ(trimWhitespace(other) + convertHTMLEntities(other) + getValidFileNameForRadio(other), "");
  }
}

TEST(ArtworkPath, LeadsNowhereElse) {
  EXPECT_EQ(artworkDirectory("/home/w"), "/home/w/Documents/ImageCache");
  EXPECT_EQ(artworkPath("/home/w", "Top_Hits_image.png"), "/home/w/Documents/ImageCache/Top_Hits_image.png");
  EXPECT_TRUE(artworkPath("/h", "..png") && artworkPath("/h", "...") && artworkPath("/h", "\\"));
  EXPECT_TRUE(artworkPath("/h", std::string(255, 'a')));
  const std::string bad[] = {
      "", ".", "..", "/", "a/b.png", "../x.png", "x.png/..", std::string("a\0b", 3), std::string(256, 'a')};
  for (const std::string& name : bad) EXPECT_FALSE(artworkPath("/h", name)) << name;
}

}  // namespace
}  // namespace tunevale
