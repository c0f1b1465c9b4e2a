#include "foundation/PlistArray.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "foundation/Storage.h"

namespace tunevale {

PlistArray::Rep* PlistArray::Rep::allocate(std::size_t capacity) {
  if (capacity > UINT32_MAX) throw std::length_error("PlistArray");
  auto* rep = new (::operator new(sizeof(Rep) + capacity * sizeof(PlistValue))) Rep;
  rep->capacity = static_cast<std::uint32_t>(capacity);
  return rep;
}

PlistArray::PlistArray(std::initializer_list<PlistValue> values) {
  reserve(values.size());
  for (const PlistValue& value : values) append(value);
}

PlistArray::PlistArray(const PlistArray& other) noexcept : rep_(other.rep_) {
  if (rep_ != nullptr) rep_->retain();
}

PlistArray& PlistArray::operator=(PlistArray other) noexcept {
  std::swap(rep_, other.rep_);
  return *this;
}

PlistArray::~PlistArray() {
  if (rep_ != nullptr && rep_->release()) StorageAccess::releaseContainers(rep_, nullptr);
}

std::size_t PlistArray::size() const noexcept {
  return rep_ == nullptr ? 0 : rep_->size;
}

const PlistValue* PlistArray::at(std::size_t index) const noexcept {
  return index < size() ? rep_->items() + index : nullptr;
}

const PlistValue* PlistArray::begin() const noexcept {
  return rep_ == nullptr ? nullptr : rep_->items();
}

const PlistValue* PlistArray::end() const noexcept {
  return rep_ == nullptr ? nullptr : rep_->items() + rep_->size;
}

void PlistArray::reserve(std::size_t count) {
  const bool inPlace = rep_ != nullptr && rep_->isUnique();
  if (inPlace && rep_->capacity >= count) return;
  if (rep_ == nullptr && count == 0) return;
  Rep* grown = Rep::allocate(std::max(count, size()));
  if (inPlace) {
    std::uninitialized_move(rep_->items(), rep_->items() + rep_->size, grown->items());
  } else if (rep_ != nullptr) {
    std::uninitialized_copy(begin(), end(), grown->items());
  }
  grown->size = static_cast<std::uint32_t>(size());
  *this = StorageAccess::adopt(grown);
}

PlistArray::Rep& PlistArray::edit() {
  if (rep_ == nullptr || !rep_->isUnique()) reserve(std::max<std::size_t>(size(), 4));
  return *rep_;
}

void PlistArray::append(PlistValue value) {
  if (rep_ == nullptr || size() == rep_->capacity || !rep_->isUnique()) {
    reserve(std::max<std::size_t>(4, size() + size() / 2 + 1));
  }
  std::construct_at(rep_->items() + rep_->size, std::move(value));
  ++rep_->size;
}

void PlistArray::set(std::size_t index, PlistValue value) {
  if (index >= size()) throw std::out_of_range("PlistArray::set");
  edit().items()[index] = std::move(value);
}

bool operator==(const PlistArray& left, const PlistArray& right) noexcept {
  return left.rep_ == right.rep_ || std::equal(left.begin(), left.end(), right.begin(), right.end());
}

}  // namespace tunevale
