#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/Storage.h"

namespace tunevale {

/// Remembers how lists of keys sort. The dictionaries of one archive mostly repeat a few lists of keys, so
/// that sorting is looked up instead of done again.
class KeyShapes {
 public:
  /// A key by its storage, which must outlive this object; null is the empty key.
  using Key = StorageAccess::StringRep*;
  static constexpr std::uint32_t kSkipped = UINT32_MAX;

  struct Shape {
    std::uint32_t count = 0;     ///< keys as listed
    std::uint32_t distinct = 0;  ///< keys kept
    std::size_t keys = 0;        ///< where the list starts in keys_
    std::size_t places = 0;      ///< where its places start; see place()
  };

  /// What stands in a list for a key that is no string.
  Key noKey() { return &noKey_; }

  /// The shape that a list of references had before, if it is still known. Equal references, equal keys.
  const Shape* find(std::string_view references) const;

  void start() { list_.clear(); }
  void add(Key key) { list_.push_back(key); }
  /// The shape of the keys added since start(), which were listed by these references.
  Shape finish(std::string_view references);

  /// For each listed key its place in sorted order, or kSkipped: no string, or listed again later.
  std::uint32_t place(std::size_t index) const { return places_[index]; }
  /// The keys of a shape as listed.
  const Key* keys(const Shape& shape) const { return keys_.data() + shape.keys; }
  const std::uint32_t* places(const Shape& shape) const { return places_.data() + shape.places; }

 private:
  static std::string_view text(Key key) {
    return key == nullptr ? std::string_view() : std::string_view(key->text(), key->size);
  }
  struct Listed {
    const char* references = nullptr;  // in the input
    std::size_t size = 0;
    Shape shape;
  };
  Shape sort();

  StorageAccess::StringRep noKey_;
  std::vector<Key> list_;
  std::vector<Key> keys_;
  std::vector<std::uint32_t> places_;
  std::vector<std::uint32_t> order_;
  // Both by a hash; a clash only costs the work again.
  std::array<Listed, 64> listed_{};
  std::array<Shape, 64> sorted_{};
};

}  // namespace tunevale
