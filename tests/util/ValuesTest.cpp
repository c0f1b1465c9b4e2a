#include <gtest/gtest.h>

#include "util/ArtworkPath.h"
#include "util/HexColor.h"
#include "util/ValueChecks.h"

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
  const std::pair<const char*, Color> cases[] = {
      {"#FF8000", orange},
      {"  0xff8000 ", orange},
      {"ff#80#00", orange},
      {"\n0XFF8000\u00A0", orange},
      {"#0xfF8000", orange},
      {"0#xFF8000", orange},  // the signs go before the prefix is looked for
      {"#FFF", grey},
      {"#FF800", grey},
      {"#FF800080", grey},
      {"0xFF80", grey},  // six characters of which the prefix is two
      {"FF80 00", grey},
      {"     ", grey},
      {"######", grey},
      {"ZZZZZZ", Color::blackColor()},
      {"0GG0FG", Color::ofBytes(0, 0, 15)},
      {"1Z-1+1", Color::ofBytes(1, 0, 0)},
      {"\u00E9FFFFF", Color::ofBytes(0, 255, 255)},     // one UTF-16 unit
      {"\U0001F3B5FFFF", Color::ofBytes(0, 255, 255)},  // two
      {"\U0001F3B5FFFFF", grey},                        // seven units, though six letters
      {"", Color::blackColor()},
  };
  for (const auto& [text, color] : cases) {
    const PlistValue value(text);
    EXPECT_EQ(getColorFromHex(&value), color) << '"' << text << '"';
  }
}

TEST(HexColor, GivesTheAlphaToGoodColoursOnly) {
  const PlistValue good("#2BAB48");
  const PlistValue bad("ZZZ");
  const PlistValue number(12);
  EXPECT_EQ(getColorFromHex(&good, 0.5F), Color::ofBytes(0x2B, 0xAB, 0x48, 0.5F));
  EXPECT_EQ(getColorFromHex(&bad, 0.5F), Color::ofBytes(62, 62, 62, 1.0F));
  EXPECT_EQ(getColorFromHex(&number, 0.5F), Color::blackColor());
  EXPECT_EQ(getColorFromHex(nullptr, 0.5F), Color::blackColor());
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
