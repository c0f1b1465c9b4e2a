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

  void start() { list_.clear(); }
  void add(Key key) { list_.push_back(key); }
  /// The shape of the keys added since start().
  Shape finish();

  /// For each listed key its place in sorted order, or kSkipped: no string, or listed again later.
  std::uint32_t place(std::size_t index) const { return places_[index]; }
  /// The n-th key added since start().
  Key key(std::size_t n) const { return list_[n]; }

 private:
  static std::string_view text(Key key) {
    return key == nullptr ? std::string_view() : std::string_view(key->text(), key->size);
  }
  Shape sort();

  StorageAccess::StringRep noKey_;
  std::vector<Key> list_;
  std::vector<Key> keys_;
  std::vector<std::uint32_t> places_;
  std::vector<std::uint32_t> order_;
  std::array<Shape, 64> recent_{};  // by a hash of the keys; a clash only costs another sort
};

}  // namespace tunevale
