#pragma once

#include <string>
#include <string_view>

namespace tunevale {

/// An immutable, shared run of characters. As a string it is valid UTF-8: what is not becomes U+FFFD when it
/// is made. Copying is a reference count; the empty one allocates nothing.
class PlistString {
 public:
  PlistString() noexcept = default;
  PlistString(std::string_view utf8);
  PlistString(const std::string& utf8) : PlistString(std::string_view(utf8)) {}
  PlistString(const char* utf8) : PlistString(std::string_view(utf8)) {}
  PlistString(const PlistString& other) noexcept;
  PlistString(PlistString&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
  PlistString& operator=(PlistString other) noexcept;
  ~PlistString();

  /// Takes the characters as they are; the caller vouches that they are valid UTF-8 (or are plain bytes).
  static PlistString unchecked(std::string_view characters);

  std::string_view view() const noexcept;
  operator std::string_view() const noexcept { return view(); }
  std::size_t size() const noexcept { return view().size(); }
  /// The same storage, not merely the same text; for decoders and encoders that keep shared things shared.
  const void* identity() const noexcept { return rep_; }

  friend bool operator==(const PlistString& left, const PlistString& right) noexcept {
    return left.rep_ == right.rep_ || left.view() == right.view();
  }

 private:
  friend struct StorageAccess;
  struct Rep;
  explicit PlistString(Rep* rep) noexcept : rep_(rep) {}
  Rep* rep_ = nullptr;
};

}  // namespace tunevale
