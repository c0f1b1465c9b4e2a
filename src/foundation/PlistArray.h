#pragma once

#include <cstddef>
#include <initializer_list>

namespace tunevale {

class PlistValue;

/// An ordered list of values. A regular type: copying is a reference count, editing copies once when somebody
/// else holds the same list and happens in place otherwise, so a list handed out stays as it was for ever.
/// A list of one list is PlistArray{PlistValue(list)}: compilers disagree on whether PlistArray{list} is a
/// copy.
class PlistArray {
 public:
  PlistArray() noexcept = default;
  PlistArray(std::initializer_list<PlistValue> values);
  PlistArray(const PlistArray& other) noexcept;
  PlistArray(PlistArray&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
  PlistArray& operator=(PlistArray other) noexcept;
  ~PlistArray();

  std::size_t size() const noexcept;
  bool empty() const noexcept { return size() == 0; }
  /// The value at an index, or null past the end. Valid until this list is edited or gone.
  const PlistValue* at(std::size_t index) const noexcept;
  const PlistValue* begin() const noexcept;
  const PlistValue* end() const noexcept;

  void reserve(std::size_t count);
  void append(PlistValue value);
  /// Replaces the value at an index below size().
  void set(std::size_t index, PlistValue value);
  /// The same storage, not merely the same contents.
  const void* identity() const noexcept { return rep_; }

  friend bool operator==(const PlistArray& left, const PlistArray& right) noexcept;

 private:
  friend struct StorageAccess;
  struct Rep;
  Rep& edit();
  Rep* rep_ = nullptr;
};

}  // namespace tunevale
