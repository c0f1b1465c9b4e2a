#include "foundation/PlistString.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "foundation/Storage.h"
#include "foundation/Text.h"

namespace tunevale {

PlistString::Rep* PlistString::Rep::allocate(std::size_t size) {
  if (size > UINT32_MAX) throw std::length_error("PlistString");
  auto* rep = new (::operator new(sizeof(Rep) + size)) Rep;
  rep->size = static_cast<std::uint32_t>(size);
  return rep;
}

PlistString::PlistString(std::string_view utf8)
    : PlistString(isValidUtf8(utf8) ? unchecked(utf8) : unchecked(sanitizedUtf8(utf8))) {}

PlistString PlistString::unchecked(std::string_view characters) {
  if (characters.empty()) return {};
  Rep* rep = Rep::allocate(characters.size());
  std::memcpy(rep->text(), characters.data(), characters.size());
  return PlistString(rep);
}

PlistString::PlistString(const PlistString& other) noexcept : rep_(other.rep_) {
  if (rep_ != nullptr) rep_->retain();
}

PlistString& PlistString::operator=(PlistString other) noexcept {
  std::swap(rep_, other.rep_);
  return *this;
}

PlistString::~PlistString() {
  if (rep_ != nullptr && rep_->release()) Rep::free(rep_);
}

std::string_view PlistString::view() const noexcept {
  return rep_ == nullptr ? std::string_view("", 0) : std::string_view(rep_->text(), rep_->size);
}

}  // namespace tunevale
