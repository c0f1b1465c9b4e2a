#include <clocale>

#include <gtest/gtest.h>

#include "host/Logs.h"
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

TEST(UnicodeCase, LowersEveryCharacterAndReplacesIllFormedText) {
  EXPECT_EQ(UnicodeCase().lowercaseString("HITS.png ÀÉ ẞ"), "hits.png àé ß");
  EXPECT_EQ(UnicodeCase().lowercaseString("ΟΔΟΣ Σ"), "οδος σ");
  EXPECT_EQ(UnicodeCase().lowercaseString("தமிழ் தேரே NAAM"), "தமிழ் தேரே naam");
  // And in every locale: in Turkish "I" would lower to a dotless one, where that is installed.
  std::setlocale(LC_ALL, "tr_TR.UTF-8");
  EXPECT_EQ(UnicodeCase().lowercaseString("TITLE ıI\u0130"), "title ıii\u0307");
  EXPECT_EQ(UnicodeCase().capitalizedString("indie ISTANBUL ılık"), "Indie Istanbul Ilık");
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(UnicodeCase().capitalizedString("a\xFF"
                                            "B\xE0\xA4"),
            "A\uFFFDb\uFFFD");
  EXPECT_EQ(UnicodeCase().lowercaseString(std::string_view("A\0B", 3)), std::string_view("a\0b", 3));
}

TEST(Log, EscapesWhatCouldForgeALineOrDriveATerminalAndCutsBetweenCharacters) {
  EXPECT_EQ(loggableLine("Error:a\nb\tc\r\x1B[31m\x7F"), "Error:a\\nb\\tc\\u{D}\\u{1B}[31m\\u{7F}");
  EXPECT_EQ(loggableLine(std::string_view("a\0b", 3)), "a\\u{0}b");
  EXPECT_EQ(loggableLine("a\u0085b\u2028c\u202Ed\u2066e"), "a\\u{85}b\\u{2028}c\\u{202E}d\\u{2066}e");
  EXPECT_EQ(loggableLine("तेरे • é 😀 %s"), "तेरे • é 😀 %s");
  EXPECT_EQ(loggableLine("\xFF|\xE0\xA4"), "\uFFFD|\uFFFD");
  const std::string longLine = std::string(8191, 'x') + "é" + std::string(100, 'y');
  EXPECT_EQ(loggableLine(longLine), std::string(8191, 'x') + "…");
  EXPECT_EQ(loggableLine(std::string(8192, 'x')), std::string(8192, 'x'));
}

}  // namespace
}  // namespace tunevale::host
