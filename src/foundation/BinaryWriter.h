#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/PlistValue.h"

namespace tunevale {

/// Collects the objects of a binary property list, equal ones once, and lays them out. Texts and bytes are
/// borrowed until finish().
class BinaryWriter {
 public:
  using Index = std::uint32_t;  ///< an object's number

  Index null();
  Index boolean(bool value);
  Index integer(std::int64_t value);
  Index real(double value);
  Index text(std::string_view utf8);
  Index data(std::string_view bytes);
  Index uid(std::uint32_t value);
  Index array(std::span<const Index> elements);
  /// All keys, then all values.
  Index dictionary(std::span<const Index> keys, std::span<const Index> values);

  Bytes finish(Index root) const;

 private:
  // Containers after everything else; see isContainer().
  enum class Type : std::uint8_t { null, boolean, integer, real, ascii, utf16, data, uid, array, dictionary };
  static bool isContainer(Type type) { return type >= Type::array; }
  struct Item {
    Type type;
    std::uint32_t count = 0;  // bytes of a text or of data; elements or pairs of a container
    std::uint64_t bits = 0;   // a number; where a container's elements start in references_
    const char* bytes = nullptr;
  };
  struct Known {
    std::uint32_t hash = 0;
    std::uint32_t item = 0;  // 1 + index
  };

  Index container(Type type, std::size_t count, std::size_t firstReference);
  Index unique(const Item& item, std::uint64_t hash);
  std::span<const Index> references(const Item& container) const;
  bool same(const Item& left, const Item& right) const;
  void grow();
  Index add(const Item& item);

  std::vector<Item> items_;
  std::vector<Index> references_;
  std::vector<Known> known_;  // open addressing; a power of two in size
  std::size_t knownCount_ = 0;
};

}  // namespace tunevale
