#include "foundation/BinaryObjects.h"

namespace tunevale {

std::optional<BinaryObjects> BinaryObjects::open(ByteView input) {
  constexpr std::string_view kMagic = "bplist00";
  constexpr std::size_t kTrailer = 32;
  if (input.size() < kMagic.size() + kTrailer) return std::nullopt;
  if (asText(input.first(kMagic.size())) != kMagic) return std::nullopt;

  BinaryObjects list;
  list.base_ = reinterpret_cast<const unsigned char*>(input.data());
  list.inputSize_ = input.size();
  const unsigned char* trailer = list.base_ + input.size() - kTrailer;
  list.offsetSize_ = trailer[6];
  list.refSize_ = trailer[7];
  list.count_ = bigEndian(trailer + 8, 8);
  list.root_ = bigEndian(trailer + 16, 8);
  const std::uint64_t tableOffset = bigEndian(trailer + 24, 8);

  if (list.offsetSize_ < 1 || list.offsetSize_ > 8 || list.refSize_ < 1 || list.refSize_ > 8)
    return std::nullopt;
  const std::uint64_t room = input.size() - kTrailer;
  if (tableOffset <= kMagic.size() || tableOffset > room) return std::nullopt;
  if (list.count_ > (room - tableOffset) / list.offsetSize_) return std::nullopt;
  // Each object takes at least a byte of its own.
  if (list.count_ > tableOffset - kMagic.size() || list.root_ >= list.count_) return std::nullopt;
  list.table_ = list.base_ + tableOffset;
  return list;
}

}  // namespace tunevale
