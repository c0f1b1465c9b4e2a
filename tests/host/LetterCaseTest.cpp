#include <clocale>

#include <gtest/gtest.h>

#include "host/UnicodeCase.h"

namespace tunevale::host {
namespace {

TEST(UnicodeCase, CapitalizesEachWordBetweenWhiteSpace) {
  const struct {
    const char* text;
    const char* capitalized;
  } cases[] = {
      {"", ""},
      {"hindi", "Hindi"},
      {"TOP hits  of\tTHE\nyear", "Top Hits  Of\tThe\nYear"},
      {"rock-n-ROLL (LIVE) 2PAC o'NEIL", "Rock-n-roll (live) 2pac O'neil"},
      {"a\u00A0b\u2003c\u3000d\u2028e\u0085f", "A\u00A0B\u2003C\u3000D\u2028E\u0085F"},
      {"a\u200Bb", "A\u200Bb"},  // no width, no white space
      {"éTUDE ÉTUDE ñandÚ", "Étude Étude Ñandú"},
      {"e\u0301TUDE", "E\u0301tude"},  // the accent is a mark of its own
      {"ßtraße STRAẞE", "Sstraße Straße"},
      {"ΟΔΟΣ ΣΑΣ σ. Α\u0301Σ", "Οδος Σας Σ. Α\u0301ς"},
      {"ДИСКО дром", "Диско Дром"},
      {"ǆUNGLE", "ǅungle"},  // title case is neither upper nor lower
      {"तेरे नाम", "तेरे नाम"},
      {"காதல் ரோஜாவே", "காதல் ரோஜாவே"},
      {"क्ष ज़िंदगी MIX", "क्ष ज़िंदगी Mix"},
      {"𐐨𐐀", "𐐀𐐨"},  // four bytes each
      {"😀 SMILE", "😀 Smile"},
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
