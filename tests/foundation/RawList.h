#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"

namespace tunevale::test {

/// A binary property list put together by hand, sound or not. Objects are raw bytes; references are numbers.
struct RawList {
  std::vector<std::string> objects;
  std::size_t refSize = 1;
  std::size_t offsetSize = 2;
  std::uint64_t root = 0;

  /// Adds an object; returns its number.
  std::size_t add(std::string raw);
  std::size_t array(std::initializer_list<std::size_t> elements) { return add(arrayObject(elements)); }
  std::size_t dictionary(std::initializer_list<std::size_t> keys, std::initializer_list<std::size_t> values) {
    return add(dictionaryObject(keys, values));
  }
  std::string arrayObject(const std::vector<std::size_t>& elements) const;
  std::string dictionaryObject(const std::vector<std::size_t>& keys,
                               const std::vector<std::size_t>& values) const;

  Bytes bytes() const;
};

std::string bigEndian(std::uint64_t value, std::size_t size);
/// A marker and its count.
std::string head(int marker, std::uint64_t count);
std::string text(std::string_view ascii);
std::string utf16(std::u16string_view units);
std::string data(std::string_view bytes);
std::string number(std::int64_t value);
std::string uid(std::uint64_t value);

/// A keyed archive put together by hand: `$objects` by entry, entry 0 already being "$null".
struct RawArchive {
  RawList list;
  std::vector<std::size_t> entries;  // object numbers
  std::uint64_t root = 1;
  std::string archiver = "NSKeyedArchiver";
  std::int64_t version = 100000;

  RawArchive();
  /// Adds a raw object as an entry; returns its UID.
  std::uint64_t entry(const std::string& raw);
  std::uint64_t classRecord(std::string_view name);
  /// A record with a class and further fields by object number.
  std::uint64_t record(std::string_view className, std::vector<std::pair<std::string, std::size_t>> fields);
  std::uint64_t arrayRecord(const std::vector<std::uint64_t>& uids, std::string_view className = "NSArray");
  std::uint64_t dictionaryRecord(const std::vector<std::uint64_t>& keys,
                                 const std::vector<std::uint64_t>& values,
                                 std::string_view className = "NSDictionary");
  /// The object number of an array of references.
  std::size_t uids(const std::vector<std::uint64_t>& uids);

  Bytes bytes() const;
};

}  // namespace tunevale::test
