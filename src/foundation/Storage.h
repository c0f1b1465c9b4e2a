#pragma once

#include <atomic>
#include <cstdint>
#include <new>

#include "foundation/PlistValue.h"

// How the values are stored; for foundation's own sources. Each shared thing is one block: a header and then
// its characters, values or entries.
namespace tunevale {

struct Counted {
  std::atomic<std::uint32_t> refs{1};
  std::uint32_t size = 0;

  void retain() noexcept { refs.fetch_add(1, std::memory_order_relaxed); }
  /// For storage that no other thread can have seen yet.
  void retainPrivately() noexcept {
    refs.store(refs.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  }
  bool isUnique() const noexcept { return refs.load(std::memory_order_acquire) == 1; }
  /// True when that was the last holder.
  bool release() noexcept { return isUnique() || refs.fetch_sub(1, std::memory_order_acq_rel) == 1; }
};

struct PlistString::Rep : Counted {
  char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
  /// Room for `size` characters, not yet written. Throws std::length_error past 4 GiB.
  static Rep* allocate(std::size_t size);
  static void free(Rep* rep) noexcept { ::operator delete(rep); }
};

struct ContainerRep : Counted {
  union {
    std::uint32_t capacity;
    ContainerRep* nextDead;  // while waiting to be freed; see releaseContainers()
  };
  ContainerRep() noexcept : nextDead(nullptr) {}
};

struct PlistArray::Rep : ContainerRep {
  PlistValue* items() noexcept { return reinterpret_cast<PlistValue*>(this + 1); }
  static Rep* allocate(std::size_t capacity);
};

struct PlistDictionary::Rep : ContainerRep {
  Entry* entries() noexcept { return reinterpret_cast<Entry*>(this + 1); }
  static Rep* allocate(std::size_t capacity);
};

/// Raw access for foundation's decoders, encoders and destructors.
struct StorageAccess {
  using StringRep = PlistString::Rep;
  using ArrayRep = PlistArray::Rep;
  using DictionaryRep = PlistDictionary::Rep;

  static StringRep*& rep(PlistString& text) noexcept { return text.rep_; }
  static StringRep* rep(const PlistString& text) noexcept { return text.rep_; }
  static ArrayRep*& rep(PlistArray& array) noexcept { return array.rep_; }
  static DictionaryRep*& rep(PlistDictionary& dictionary) noexcept { return dictionary.rep_; }
  static ArrayRep* rep(const PlistArray& array) noexcept { return array.rep_; }
  static DictionaryRep* rep(const PlistDictionary& dictionary) noexcept { return dictionary.rep_; }
  static PlistString& text(PlistValue& value) noexcept { return value.text_; }
  static PlistArray& array(PlistValue& value) noexcept { return value.array_; }
  static PlistDictionary& dictionary(PlistValue& value) noexcept { return value.dictionary_; }
  static const PlistString& text(const PlistValue& value) noexcept { return value.text_; }

  /// Takes over one reference.
  static PlistString adopt(StringRep* rep) noexcept { return PlistString(rep); }
  static PlistArray adopt(ArrayRep* rep) noexcept {
    PlistArray array;
    array.rep_ = rep;
    return array;
  }
  static PlistDictionary adopt(DictionaryRep* rep) noexcept {
    PlistDictionary dictionary;
    dictionary.rep_ = rep;
    return dictionary;
  }
  static PlistValue bytes(PlistString characters) noexcept {
    PlistValue value(std::move(characters));
    value.kind_ = PlistValue::Kind::bytes;
    return value;
  }
  /// A further reference to storage that no other thread can have seen yet.
  static PlistString copyPrivately(const PlistString& text) noexcept {
    if (text.rep_ != nullptr) text.rep_->retainPrivately();
    return PlistString(text.rep_);
  }
  static PlistValue copyPrivately(const PlistValue& value) noexcept;
  /// Frees containers, their children and so on without recursion, so that no depth can exhaust the stack.
  static void releaseContainers(ArrayRep* array, DictionaryRep* dictionary) noexcept;
};

inline PlistValue StorageAccess::copyPrivately(const PlistValue& value) noexcept {
  PlistValue copy;
  std::memcpy(static_cast<void*>(&copy), &value, sizeof copy);
  if (value.kind_ < PlistValue::Kind::string) return copy;
  // Whatever the kind, what is counted comes first in the block.
  Counted* counted = value.kind_ == PlistValue::Kind::array ? static_cast<Counted*>(value.array_.rep_)
                     : value.kind_ == PlistValue::Kind::dictionary
                         ? static_cast<Counted*>(value.dictionary_.rep_)
                         : static_cast<Counted*>(value.text_.rep_);
  if (counted != nullptr) counted->retainPrivately();
  return copy;
}

}  // namespace tunevale
