#include "foundation/PlistValue.h"

#include <bit>
#include <memory>
#include <utility>

#include "foundation/Storage.h"

namespace tunevale {

PlistValue::PlistValue(PlistString value) noexcept : kind_(Kind::string), text_(std::move(value)) {}
PlistValue::PlistValue(PlistArray value) noexcept : kind_(Kind::array), array_(std::move(value)) {}
PlistValue::PlistValue(PlistDictionary value) noexcept
    : kind_(Kind::dictionary), dictionary_(std::move(value)) {}
PlistValue::PlistValue(ByteView bytes) : kind_(Kind::bytes), text_(PlistString::unchecked(asText(bytes))) {}

PlistValue::PlistValue(const PlistValue& other) noexcept : kind_(other.kind_), integer_(0) {
  switch (kind_) {
    case Kind::null:
    case Kind::boolean:
    case Kind::integer:
      integer_ = other.integer_;
      break;
    case Kind::real:
      real_ = other.real_;
      break;
    case Kind::string:
    case Kind::bytes:
      std::construct_at(&text_, other.text_);
      break;
    case Kind::array:
      std::construct_at(&array_, other.array_);
      break;
    case Kind::dictionary:
      std::construct_at(&dictionary_, other.dictionary_);
      break;
  }
}

void PlistValue::release() noexcept {
  if (kind_ == Kind::array) {
    std::destroy_at(&array_);
  } else if (kind_ == Kind::dictionary) {
    std::destroy_at(&dictionary_);
  } else {
    std::destroy_at(&text_);
  }
}

std::optional<bool> PlistValue::boolean() const noexcept {
  if (kind_ != Kind::boolean) return std::nullopt;
  return integer_ != 0;
}

std::optional<std::int64_t> PlistValue::integer() const noexcept {
  if (kind_ != Kind::integer) return std::nullopt;
  return integer_;
}

std::optional<double> PlistValue::real() const noexcept {
  if (kind_ != Kind::real) return std::nullopt;
  return real_;
}

std::optional<double> PlistValue::number() const noexcept {
  if (kind_ == Kind::real) return real_;
  if (kind_ == Kind::integer || kind_ == Kind::boolean) return static_cast<double>(integer_);
  return std::nullopt;
}

std::optional<std::string_view> PlistValue::string() const noexcept {
  if (kind_ != Kind::string) return std::nullopt;
  return text_.view();
}

std::optional<ByteView> PlistValue::bytes() const noexcept {
  if (kind_ != Kind::bytes) return std::nullopt;
  return asBytes(text_.view());
}

bool operator==(const PlistValue& left, const PlistValue& right) noexcept {
  if (left.kind_ != right.kind_) return false;
  switch (left.kind_) {
    case PlistValue::Kind::null:
      return true;
    case PlistValue::Kind::boolean:
    case PlistValue::Kind::integer:
      return left.integer_ == right.integer_;
    case PlistValue::Kind::real:
      if (left.real_ == 0 && right.real_ == 0) return true;
      if (left.real_ != left.real_ && right.real_ != right.real_) return true;
      return std::bit_cast<std::uint64_t>(left.real_) == std::bit_cast<std::uint64_t>(right.real_);
    case PlistValue::Kind::string:
    case PlistValue::Kind::bytes:
      return left.text_ == right.text_;
    case PlistValue::Kind::array:
      return left.array_ == right.array_;
    case PlistValue::Kind::dictionary:
      return left.dictionary_ == right.dictionary_;
  }
  return false;
}

void StorageAccess::releaseContainers(ArrayRep* array, DictionaryRep* dictionary) noexcept {
  // Dead containers wait in two lists that are threaded through their own headers.
  ContainerRep* arrays = array;
  ContainerRep* dictionaries = dictionary;
  if (arrays != nullptr) arrays->nextDead = nullptr;
  if (dictionaries != nullptr) dictionaries->nextDead = nullptr;

  const auto bury = [](ContainerRep* dead, ContainerRep*& list) {
    dead->nextDead = list;
    list = dead;
  };
  const auto drop = [&](PlistValue& value) {
    if (value.kind_ == PlistValue::Kind::array) {
      ArrayRep* rep = std::exchange(value.array_.rep_, nullptr);
      if (rep != nullptr && rep->release()) bury(rep, arrays);
    } else if (value.kind_ == PlistValue::Kind::dictionary) {
      DictionaryRep* rep = std::exchange(value.dictionary_.rep_, nullptr);
      if (rep != nullptr && rep->release()) bury(rep, dictionaries);
    } else {
      std::destroy_at(&value);
    }
  };

  while (arrays != nullptr || dictionaries != nullptr) {
    if (arrays != nullptr) {
      auto* rep = static_cast<ArrayRep*>(std::exchange(arrays, arrays->nextDead));
      for (std::uint32_t i = 0; i < rep->size; ++i) drop(rep->items()[i]);
      ::operator delete(rep);
    } else {
      auto* rep = static_cast<DictionaryRep*>(std::exchange(dictionaries, dictionaries->nextDead));
      for (std::uint32_t i = 0; i < rep->size; ++i) {
        drop(rep->entries()[i].value);
        std::destroy_at(&rep->entries()[i].key);
      }
      ::operator delete(rep);
    }
  }
}

}  // namespace tunevale
