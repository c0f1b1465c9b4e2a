#include "foundation/KeyShapes.h"

#include <algorithm>

namespace tunevale {

KeyShapes::Shape KeyShapes::finish() {
  std::uint64_t hash = list_.size();
  for (const Key key : list_) hash = (hash ^ reinterpret_cast<std::uintptr_t>(key)) * 0x9E3779B97F4A7C15U;
  Shape& recent = recent_[hash >> 58];
  const bool same =
      recent.count == list_.size() &&
      std::equal(list_.begin(), list_.end(), keys_.begin() + static_cast<std::ptrdiff_t>(recent.keys));
  if (!same) recent = sort();
  return recent;
}

KeyShapes::Shape KeyShapes::sort() {
  Shape shape;
  shape.count = static_cast<std::uint32_t>(list_.size());
  shape.keys = keys_.size();
  shape.places = places_.size();
  keys_.insert(keys_.end(), list_.begin(), list_.end());
  places_.resize(places_.size() + list_.size(), kSkipped);

  order_.clear();
  for (std::uint32_t i = 0; i < shape.count; ++i) {
    if (list_[i] != &noKey_) order_.push_back(i);
  }
  std::sort(order_.begin(), order_.end(), [this](std::uint32_t a, std::uint32_t b) {
    const int order = list_[a] == list_[b] ? 0 : text(list_[a]).compare(text(list_[b]));
    return order != 0 ? order < 0 : a < b;
  });
  for (std::size_t i = 0; i < order_.size(); ++i) {
    const bool listedAgain = i + 1 < order_.size() && text(list_[order_[i]]) == text(list_[order_[i + 1]]);
    if (!listedAgain) places_[shape.places + order_[i]] = shape.distinct++;
  }
  return shape;
}

}  // namespace tunevale
