#pragma once

#include <string_view>

#include "foundation/PlistValue.h"
#include "platform/Image.h"

/// Asked before a value from outside is used. A missing key and the null value are treated alike. Pure, no
/// operation throws, any thread.
namespace tunevale::WatchUtil {

/// A string other than ""; blanks count as characters.
bool isNonEmptyString(const PlistValue* value) noexcept;
/// An array with at least one element, whatever that is.
bool isNonEmptyArray(const PlistValue* value) noexcept;
bool isNonEmptyDictionary(const PlistValue* value) noexcept;
/// Bytes, even if there are none: the name says more than the test does, and callers rely on the test.
bool isNonEmptyData(const PlistValue* value) noexcept;
/// Any image, of whatever size.
bool isNonEmptyImage(const ImagePtr& image) noexcept;

/// The value under a key of a record; nothing when the record is none, or lacks the key. Lives as long as the
/// record.
const PlistValue* valueForKey(const PlistValue* record, std::string_view key) noexcept;
/// The characters of a string; "" for everything else. Lives as long as the value.
std::string_view stringOrEmpty(const PlistValue* value) noexcept;
/// What an array or a dictionary holds; an empty one for everything else. Both live as long as the value.
const PlistArray& arrayOrEmpty(const PlistValue* value) noexcept;
const PlistDictionary& dictionaryOrEmpty(const PlistValue* value) noexcept;

}  // namespace tunevale::WatchUtil
