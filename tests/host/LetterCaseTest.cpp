#include <clocale>

#include <gtest/gtest.h>

#include "host/UnicodeCase.h"

namespace tunevale::host {
namespace {

TEST(UnicodeCase, CapitalizesEachWordBetweenWhiteSpace) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"TOP hits  of\tTHE\nyear", "Top Hits  Of\tThe\nYear"},
      {"rock-n-ROLL (LIVE) 2PAC o'NEIL", "Rock-n-roll (live) 2pac O'neil"},
      {"a\u00A0b\u2003c\u3000d\u2028e\u0085f", "A\u00A0B\u2003C\u3000D\u2028E\u0085F"},
      {"a\u200Bb", "A\u200Bb"},                                // no width, no white space
      {"éTUDE ñandÚ e\u0301TUDE", "Étude Ñandú E\u0301tude"},  // the accent is a mark of its own
      {"ßtraße STRAẞE", "Sstraße Straße"},
      {"ΟΔΟΣ ΣΑΣ σ. Α\u0301Σ", "Οδος Σας Σ. Α\u0301ς"},
      {"ДИСКО ǆUNGLE", "Диско ǅungle"},  // title case is neither upper nor lower
      {"तेरे नाम காதல் ரோஜாவே MIX", "तेरे नाम காதல் ரோஜாவே Mix"},
      {"𐐨𐐀 😀 SMILE", "𐐀𐐨 😀 Smile"},  // four bytes each
  };
  for (const auto& [text, capitalized] : cases) {
    EXPECT_EQ(UnicodeCase().capitalizedString(text), capitalized) << text;
  }
}

TEST(UnicodeCase, LowersEveryCharacter) {
  EXPECT_EQ(UnicodeCase().lowercaseString("HITS.png ÀÉ ẞ"), "hits.png àé ß");
  EXPECT_EQ(UnicodeCase().lowercaseString("ΟΔΟΣ Σ"), "οδος σ");
  EXPECT_EQ(UnicodeCase().lowercaseString("தமிழ் தேரே NAAM"), "தமிழ் தேரே naam");
}

TEST(UnicodeCase, IsTheSameInEveryLocale) {
  std::setlocale(LC_ALL, "tr_TR.UTF-8");  // where "I" would lower to a dotless one, if it is installed
  EXPECT_EQ(UnicodeCase().lowercaseString("TITLE ıI\u0130"), "title ıii\u0307");
  EXPECT_EQ(UnicodeCase().capitalizedString("indie ISTANBUL ılık"), "Indie Istanbul Ilık");
  std::setlocale(LC_ALL, "C");
}

TEST(UnicodeCase, ReplacesIllFormedText) {
  EXPECT_EQ(UnicodeCase().capitalizedString("a\xFF"
                                            "B\xE0\xA4"),
            "A\uFFFDb\uFFFD");
  EXPECT_EQ(UnicodeCase().lowercaseString(std::string_view("A\0B", 3)), std::string_view("a\0b", 3));
}

}  // namespace
}  // namespace tunevale::host
