#include "util/TextCleaning.h"

#include <array>

#include "foundation/Text.h"
#include "platform/ShownText.h"
#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

namespace {

struct Replacement {
  std::string_view entity;
  std::string_view text;
};

/// The order matters: ampersands come first, so that what they uncover is replaced too; the forms without a
/// leading ampersand come after the complete ones.
constexpr std::array<Replacement, 17> kReplacements{{
    {"&amp;amp;", "&"},
    {"&amp;", "&"},
    {"&Amp;", "&"},
    {"&#38;", "&"},
    {"&#038;", "&"},
    {"&nbsp;", " "},
    {"#160;", " "},
    {"&#39;", "'"},
    {"&#039;", "'"},
    {"#039;", "'"},
    {"&ndash;", "-"},
    {"&quot;", "\""},
    {"&lsquo;", "'"},
    {"&rsquo;", "'"},
    {"&Quot;", "\""},
    {"&gt;", ">"},
    {"&lt;", "<"},
}};

}  // namespace

std::string trimWhitespace(const PlistValue* value) {
  return std::string(trimmed(trimmed(stringOrEmpty(value), isNewline), isBlank));
}

std::string convertHTMLEntities(std::string_view text) {
  std::string result(text);
  for (const Replacement& step : kReplacements) result = replacingAll(result, step.entity, step.text);
  return result;
}

std::string convertHTMLEntities(const PlistValue* value) {
  return convertHTMLEntities(stringOrEmpty(value));
}

std::string_view textToClean(std::string_view text) noexcept {
  return shownText(text, 4 * kLongestShownText);
}

std::string_view textToClean(const PlistValue* value) noexcept {
  return textToClean(stringOrEmpty(value));
}

std::string getValidFileNameForRadio(std::string_view title) {
  return title.empty() ? std::string() : replacingAll(title, " ", "_") + "_image.png";
}

std::string getValidFileNameForRadio(const PlistValue* title) {
  return getValidFileNameForRadio(stringOrEmpty(title));
}

}  // namespace tunevale::WatchUtil
