#pragma once

#include <string>
#include <string_view>

#include "foundation/PlistValue.h"

/// Pure, any thread.
namespace tunevale::WatchUtil {

/// Without the line breaks at both ends and then without the blanks that are now at both ends, each once, so
/// a line break within the blanks of an end stays. "" for what is no string.
std::string trimWhitespace(const PlistValue* value);

/// The catalogue's text for showing: seventeen entities replaced, one after another over the whole text, so a
/// text escaped twice is unescaped twice. Only the exact spellings of the table count. "" for what is no
/// string.
std::string convertHTMLEntities(std::string_view text);
std::string convertHTMLEntities(const PlistValue* value);

/// As much of a text as is cleaned before it is shown: enough for all that is shown of it, unless cleaning
/// takes three quarters of that away. Cleaning a whole megabyte at each change of a screen would take longer
/// than a person waits. "" for what is no string. Lives as long as the text.
std::string_view textToClean(std::string_view text) noexcept;
std::string_view textToClean(const PlistValue* value) noexcept;

/// The artwork's file name of a station, from its title: spaces become "_", "_image.png" follows. "" for ""
/// and for what is no string. Nothing else is changed: see ArtworkPath.h before it becomes a path.
std::string getValidFileNameForRadio(std::string_view title);
std::string getValidFileNameForRadio(const PlistValue* title);

}  // namespace tunevale::WatchUtil
