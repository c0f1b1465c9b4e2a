#include "foundation/KeyShapes.h"

#include <algorithm>
#include <cstring>

namespace tunevale {

namespace {

constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
constexpr std::size_t kProbes = 4;

/// Of the list's ends and length; enough to tell the lists of one archive apart.
std::size_t hashOf(std::string_view references) {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  const std::size_t size = std::min(references.size(), sizeof first);
  if (size > 0) {
    std::memcpy(&first, references.data(), size);
    std::memcpy(&last, references.data() + references.size() - size, size);
  }
  return (((first * kOdd) ^ last ^ references.size()) * kOdd) >> 58;
}

}  // namespace

const KeyShapes::Shape* KeyShapes::find(std::string_view references) const {
  const std::size_t start = hashOf(references);
  for (std::size_t i = 0; i < kProbes; ++i) {
    const Listed& listed = listed_[(start + i) % listed_.size()];
    if (listed.references == nullptr) return nullptr;
    if (references == std::string_view(listed.references, listed.size)) return &listed.shape;
  }
  return nullptr;
}

KeyShapes::Shape KeyShapes::finish(std::string_view references) {
  std::uint64_t hash = list_.size();
  for (const Key key : list_) hash = (hash ^ reinterpret_cast<std::uintptr_t>(key)) * kOdd;
  Shape& sorted = sorted_[hash >> 58];
  if (sorted.count != list_.size() || !std::equal(list_.begin(), list_.end(), keys(sorted))) sorted = sort();

  const std::size_t start = hashOf(references);
  std::size_t free = 0;
  while (free < kProbes && listed_[(start + free) % listed_.size()].references != nullptr) ++free;
  listed_[(start + free % kProbes) % listed_.size()] = {references.data(), references.size(), sorted};
  return sorted;
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
