#include "foundation/PlistDictionary.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "foundation/Storage.h"

namespace tunevale {
namespace {

bool keyBefore(const PlistDictionary::Entry& entry, std::string_view key) {
  return entry.key.view() < key;
}

}  // namespace

PlistDictionary::Rep* PlistDictionary::Rep::allocate(std::size_t capacity) {
  if (capacity > UINT32_MAX) throw std::length_error("PlistDictionary");
  auto* rep = new (::operator new(sizeof(Rep) + capacity * sizeof(Entry))) Rep;
  rep->capacity = static_cast<std::uint32_t>(capacity);
  return rep;
}

PlistDictionary::PlistDictionary(std::initializer_list<Entry> entries)
    : PlistDictionary(fromEntries(std::vector<Entry>(entries))) {}

PlistDictionary::PlistDictionary(const PlistDictionary& other) noexcept : rep_(other.rep_) {
  if (rep_ != nullptr) rep_->retain();
}

PlistDictionary& PlistDictionary::operator=(PlistDictionary other) noexcept {
  std::swap(rep_, other.rep_);
  return *this;
}

PlistDictionary::~PlistDictionary() {
  if (rep_ != nullptr && rep_->release()) StorageAccess::releaseContainers(nullptr, rep_);
}

PlistDictionary PlistDictionary::fromEntries(std::vector<Entry> entries) {
  if (entries.empty()) return {};
  const auto before = [](const Entry& left, const Entry& right) {
    return left.key.view() < right.key.view();
  };
  std::stable_sort(entries.begin(), entries.end(), before);
  PlistDictionary result = StorageAccess::adopt(Rep::allocate(entries.size()));
  Rep& rep = *result.rep_;
  for (Entry& entry : entries) {
    if (rep.size > 0 && rep.entries()[rep.size - 1].key == entry.key) {
      rep.entries()[rep.size - 1].value = std::move(entry.value);
    } else {
      std::construct_at(rep.entries() + rep.size, std::move(entry));
      ++rep.size;
    }
  }
  return result;
}

std::size_t PlistDictionary::size() const noexcept {
  return rep_ == nullptr ? 0 : rep_->size;
}

const PlistDictionary::Entry* PlistDictionary::begin() const noexcept {
  return rep_ == nullptr ? nullptr : rep_->entries();
}

const PlistDictionary::Entry* PlistDictionary::end() const noexcept {
  return rep_ == nullptr ? nullptr : rep_->entries() + rep_->size;
}

const PlistValue* PlistDictionary::find(std::string_view key) const noexcept {
  const Entry* found = std::lower_bound(begin(), end(), key, keyBefore);
  return found != end() && found->key.view() == key ? &found->value : nullptr;
}

PlistDictionary::Rep& PlistDictionary::edit(std::size_t capacity) {
  const bool inPlace = rep_ != nullptr && rep_->isUnique();
  if (inPlace && rep_->capacity >= capacity) return *rep_;
  Rep* grown = Rep::allocate(std::max(capacity, size()));
  if (inPlace) {
    std::uninitialized_move(rep_->entries(), rep_->entries() + rep_->size, grown->entries());
  } else if (rep_ != nullptr) {
    std::uninitialized_copy(begin(), end(), grown->entries());
  }
  grown->size = static_cast<std::uint32_t>(size());
  *this = StorageAccess::adopt(grown);
  return *rep_;
}

void PlistDictionary::set(PlistString key, PlistValue value) {
  const auto index =
      static_cast<std::size_t>(std::lower_bound(begin(), end(), key.view(), keyBefore) - begin());
  if (index < size() && begin()[index].key == key) {
    edit(size()).entries()[index].value = std::move(value);
    return;
  }
  const bool full = rep_ == nullptr || rep_->capacity == rep_->size;
  Rep& rep = edit(full ? std::max<std::size_t>(4, size() + size() / 2 + 1) : size() + 1);
  Entry* last = std::construct_at(rep.entries() + rep.size);
  ++rep.size;
  std::move_backward(rep.entries() + index, last, last + 1);
  rep.entries()[index] = Entry{std::move(key), std::move(value)};
}

void PlistDictionary::remove(std::string_view key) {
  const PlistValue* found = find(key);
  if (found == nullptr) return;
  const auto index = static_cast<std::size_t>(std::lower_bound(begin(), end(), key, keyBefore) - begin());
  Rep& rep = edit(size());
  std::move(rep.entries() + index + 1, rep.entries() + rep.size, rep.entries() + index);
  --rep.size;
  std::destroy_at(rep.entries() + rep.size);
}

bool operator==(const PlistDictionary& left, const PlistDictionary& right) noexcept {
  if (left.rep_ == right.rep_) return true;
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](const auto& a, const auto& b) { return a.key == b.key && a.value == b.value; });
}

}  // namespace tunevale
