#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tunevale {

/// Containers inside containers, the outermost included. The phone's deepest record has 7; 64 leaves room and
/// keeps every walk over a decoded value, recursive or not, far from the end of a stack.
inline constexpr std::uint32_t kMostNesting = 64;

/// Values that a decoded value may hold, each counted as often as it is reached. Sharing is what makes a list
/// of n bytes stand for 2^n values, so the count is taken after expansion. A chart of 1,000 songs has about
/// 60,000.
inline constexpr std::uint32_t kMostNodes = 1U << 20;

/// The same per byte of input: a small input cannot ask for the whole of kMostNodes. An honest list that
/// refers to one song record a hundred times over reaches about 30.
inline constexpr std::uint32_t kMostNodesPerByte = 64;

/// So many are never too many: every walk over them takes about a millisecond. Keeps readable what our
/// writers, which write equal parts once, make of a value that repeats itself a lot.
inline constexpr std::uint32_t kAlwaysAllowedNodes = 1U << 16;

inline constexpr std::uint32_t mostNodesIn(std::size_t inputSize) {
  const std::uint64_t bySize = std::uint64_t{inputSize} * kMostNodesPerByte;
  return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(bySize, kAlwaysAllowedNodes, kMostNodes));
}

}  // namespace tunevale
