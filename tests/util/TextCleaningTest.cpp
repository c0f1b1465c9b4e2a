#include <gtest/gtest.h>

#include "util/TextCleaning.h"
#include "util/WrongKinds.h"

namespace tunevale {
namespace {

using namespace WatchUtil;

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
      {"Tom &amp;amp; Jerry", "Tom & Jerry"},
      {"Rock &Amp; Roll", "Rock & Roll"},
      {"a&#38;b&#038;c", "a&b&c"},
      {"&nbsp;|", " |"},
      {"it#039;s", "it's"},
      {"&#39;&#039;&lsquo;&rsquo;", "''''"},
      {"a&#160;b", "a& b"},
      {"1&ndash;2", "1-2"},
      {"&quot;&Quot;&gt;&lt;", "\"\"><"},
      {"&amp;lt;", "<"},
      {"&amp;quot;", "\""},
      {"&amp;#039;", "'"},
      {"&amp;amp;amp;lt;", "<"},
      {"&amp;amp;amp;amp;amp;lt;", "&amp;amp;lt;"},  // a step does not search what it has just written
      {"&#38;amp;", "&amp;"},                        // an ampersand that comes after its step stays
      {"&am&amp;p;", "&am&p;"},                      // replaced text is not searched again by the same step
      {"&lt;&amp;gt;", "<>"},
      {"&AMP; &QUOT; &Nbsp; &apos; &#8211; &amp", "&AMP; &QUOT; &Nbsp; &apos; &#8211; &amp"},
      {"\u0926\u093F\u0932 &amp; \u0BAE\u0BA9\u0BAE\u0BCD", "\u0926\u093F\u0932 & \u0BAE\u0BA9\u0BAE\u0BCD"},
      {"", ""},
  };
  for (const auto& [text, converted] : cases) EXPECT_EQ(convertHTMLEntities(text), converted) << text;
}

TEST(RadioFileName, ChangesSpacesOnly) {
  EXPECT_EQ(getValidFileNameForRadio("Top Hits 2"), "Top_Hits_2_image.png");
  EXPECT_EQ(getValidFileNameForRadio("a/b..C\td"), "a/b..C\td_image.png");
  EXPECT_EQ(getValidFileNameForRadio(" "), "__image.png");
  EXPECT_EQ(getValidFileNameForRadio(""), "");
}

TEST(Cleaning, HasNothingForOtherKinds) {
  for (const PlistValue& value : test::oneOfEachKind()) {
    if (value.string()) continue;
    EXPECT_EQ(trimWhitespace(&value) + convertHTMLEntities(&value) + getValidFileNameForRadio(&value), "");
  }
  EXPECT_EQ(trimWhitespace(nullptr) + convertHTMLEntities(nullptr) + getValidFileNameForRadio(nullptr), "");
}

}  // namespace
}  // namespace tunevale
