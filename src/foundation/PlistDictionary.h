#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "foundation/PlistString.h"

namespace tunevale {

class PlistValue;

/// String keys to values, kept sorted by the keys' bytes so that equal dictionaries are equal in every form.
/// A regular type with the sharing and editing rules of PlistArray.
class PlistDictionary {
 public:
  struct Entry;  // { PlistString key; PlistValue value; }, in PlistValue.h

  PlistDictionary() noexcept = default;
  PlistDictionary(std::initializer_list<Entry> entries);
  PlistDictionary(const PlistDictionary& other) noexcept;
  PlistDictionary(PlistDictionary&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
  PlistDictionary& operator=(PlistDictionary other) noexcept;
  ~PlistDictionary();

  /// Takes entries in any order in O(n log n); of entries with one key the last wins.
  static PlistDictionary fromEntries(std::vector<Entry> entries);

  std::size_t size() const noexcept;
  bool empty() const noexcept { return size() == 0; }
  /// The value under a key, or null. Valid until this dictionary is edited or gone.
  const PlistValue* find(std::string_view key) const noexcept;
  const Entry* begin() const noexcept;
  const Entry* end() const noexcept;

  void set(PlistString key, PlistValue value);
  void remove(std::string_view key);
  /// The same storage, not merely the same contents.
  const void* identity() const noexcept { return rep_; }

  friend bool operator==(const PlistDictionary& left, const PlistDictionary& right) noexcept;

 private:
  friend struct StorageAccess;
  struct Rep;
  Rep& edit(std::size_t capacity);
  Rep* rep_ = nullptr;
};

}  // namespace tunevale

#include "foundation/PlistValue.h"  // defines Entry
