#include "util/ValueChecks.h"

namespace tunevale::WatchUtil {

bool isNonEmptyString(const PlistValue* value) noexcept {
  return !stringOrEmpty(value).empty();
}

bool isNonEmptyArray(const PlistValue* value) noexcept {
  return !arrayOrEmpty(value).empty();
}

bool isNonEmptyDictionary(const PlistValue* value) noexcept {
  return !dictionaryOrEmpty(value).empty();
}

bool isNonEmptyData(const PlistValue* value) noexcept {
  return value != nullptr && value->kind() == PlistValue::Kind::bytes;
}

bool isNonEmptyImage(const ImagePtr& image) noexcept {
  return image != nullptr;
}

const PlistValue* valueForKey(const PlistValue* record, std::string_view key) noexcept {
  return dictionaryOrEmpty(record).find(key);
}

std::string_view stringOrEmpty(const PlistValue* value) noexcept {
  return value == nullptr ? std::string_view() : value->string().value_or(std::string_view());
}

const PlistArray& arrayOrEmpty(const PlistValue* value) noexcept {
  static const PlistArray kNone;
  const PlistArray* array = value == nullptr ? nullptr : value->array();
  return array == nullptr ? kNone : *array;
}

const PlistDictionary& dictionaryOrEmpty(const PlistValue* value) noexcept {
  static const PlistDictionary kNone;
  const PlistDictionary* dictionary = value == nullptr ? nullptr : value->dictionary();
  return dictionary == nullptr ? kNone : *dictionary;
}

}  // namespace tunevale::WatchUtil
