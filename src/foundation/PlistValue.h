#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Bytes.h"
#include "foundation/PlistArray.h"
#include "foundation/PlistDictionary.h"
#include "foundation/PlistString.h"

namespace tunevale {

/// One dynamic value of the phone's data and of user defaults: a regular type (copy, compare, assign).
/// Copying is a reference count; contents are immutable once shared. Reading never throws and never inserts:
/// ask for the kind you want and get nothing when it is another. Safe to read from several threads at once;
/// one object is not to be assigned while another thread reads that same object.
///
/// "Any value or nothing" is passed as `const PlistValue*`, null for nothing (a missing key).
class PlistValue {
 public:
  enum class Kind : std::uint8_t { null, boolean, integer, real, string, bytes, array, dictionary };

  PlistValue() noexcept : kind_(Kind::null), integer_(0) {}
  PlistValue(bool value) noexcept : kind_(Kind::boolean), integer_(value ? 1 : 0) {}
  template <std::integral T>
  requires(!std::same_as<T, bool> && (sizeof(T) < 8 || std::signed_integral<T>)) PlistValue(T value)
  noexcept : kind_(Kind::integer), integer_(value) {}
  PlistValue(double value) noexcept : kind_(Kind::real), real_(value) {}
  PlistValue(PlistString value) noexcept;
  PlistValue(std::string_view utf8) : PlistValue(PlistString(utf8)) {}
  PlistValue(const char* utf8) : PlistValue(PlistString(utf8)) {}
  PlistValue(const std::string& utf8) : PlistValue(PlistString(utf8)) {}
  PlistValue(PlistArray value) noexcept;
  PlistValue(PlistDictionary value) noexcept;
  PlistValue(ByteView bytes);
  PlistValue(const Bytes& bytes) : PlistValue(ByteView(bytes)) {}

  PlistValue(const PlistValue& other) noexcept;
  PlistValue(PlistValue&& other) noexcept : kind_(Kind::null), integer_(0) { swap(other); }
  PlistValue& operator=(PlistValue other) noexcept {
    swap(other);
    return *this;
  }
  ~PlistValue() {
    if (kind_ >= Kind::string) release();
  }

  Kind kind() const noexcept { return kind_; }
  bool isNull() const noexcept { return kind_ == Kind::null; }

  std::optional<bool> boolean() const noexcept;
  std::optional<std::int64_t> integer() const noexcept;
  std::optional<double> real() const noexcept;
  /// A boolean, integer or real as a real; nothing for every other kind.
  std::optional<double> number() const noexcept;
  /// Valid UTF-8; the view lives as long as this value or any copy of it.
  std::optional<std::string_view> string() const noexcept;
  /// Lives as long as this value or any copy of it.
  std::optional<ByteView> bytes() const noexcept;
  const PlistArray* array() const noexcept { return kind_ == Kind::array ? &array_ : nullptr; }
  const PlistDictionary* dictionary() const noexcept {
    return kind_ == Kind::dictionary ? &dictionary_ : nullptr;
  }

  /// Same kind and same contents. Integer 1, real 1.0 and true are three different values; reals compare by
  /// bit pattern except that a NaN equals itself and the two zeros are equal.
  friend bool operator==(const PlistValue& left, const PlistValue& right) noexcept;

 private:
  friend struct StorageAccess;
  void release() noexcept;
  /// Every member is a number or one pointer that nothing points back to, so the bytes may trade places.
  void swap(PlistValue& other) noexcept {
    alignas(PlistValue) unsigned char bytes[sizeof(PlistValue)];
    std::memcpy(bytes, static_cast<void*>(this), sizeof bytes);
    std::memcpy(static_cast<void*>(this), static_cast<void*>(&other), sizeof bytes);
    std::memcpy(static_cast<void*>(&other), bytes, sizeof bytes);
  }

  Kind kind_;
  union {
    std::int64_t integer_;  // boolean and integer
    double real_;
    PlistString text_;  // string and bytes
    PlistArray array_;
    PlistDictionary dictionary_;
  };
};

struct PlistDictionary::Entry {
  PlistString key;
  PlistValue value;
};

}  // namespace tunevale
