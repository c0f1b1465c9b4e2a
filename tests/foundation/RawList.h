#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"

namespace tunevale::test {

inline std::string bigEndian(std::uint64_t value, std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = size; i-- > 0; value >>= 8) bytes[i] = static_cast<char>(value & 255);
  return bytes;
}
/// A marker and its count.
inline std::string head(int marker, std::uint64_t count) {
  if (count < 15) return std::string(1, static_cast<char>(marker | static_cast<int>(count)));
  return std::string(1, static_cast<char>(marker | 15)) + '\x12' + bigEndian(count, 4);
}
inline std::string text(std::string_view ascii) {
  return head(0x50, ascii.size()) + std::string(ascii);
}
inline std::string utf16(std::u16string_view units) {
  std::string bytes = head(0x60, units.size());
  for (const char16_t unit : units) bytes += bigEndian(unit, 2);
  return bytes;
}
inline std::string data(std::string_view bytes) {
  return head(0x40, bytes.size()) + std::string(bytes);
}
inline std::string number(std::int64_t value) {
  return '\x13' + bigEndian(static_cast<std::uint64_t>(value), 8);
}
inline std::string uid(std::uint64_t value) {
  return '\x81' + bigEndian(value, 2);
}
/// What ends a list.
inline std::string trailer(std::uint64_t offsetSize, std::uint64_t refSize, std::uint64_t objects,
                           std::uint64_t root, std::uint64_t table) {
  return std::string(6, '\0') + bigEndian(offsetSize, 1) + bigEndian(refSize, 1) + bigEndian(objects, 8) +
         bigEndian(root, 8) + bigEndian(table, 8);
}
inline Bytes bytesOf(std::string_view raw) {
  const ByteView view = asBytes(raw);
  return {view.begin(), view.end()};
}

/// A binary property list put together by hand, sound or not. Objects are raw bytes; references are numbers.
struct RawList {
  using Numbers = std::vector<std::size_t>;

  /// Adds an object; returns its number.
  std::size_t add(std::string raw) {
    objects.push_back(std::move(raw));
    return objects.size() - 1;
  }
  std::size_t array(const Numbers& elements) { return add(arrayObject(elements)); }
  std::size_t dictionary(const Numbers& keys, const Numbers& values) {
    return add(dictionaryObject(keys, values));
  }
  std::string arrayObject(const Numbers& elements) const {
    return head(0xA0, elements.size()) + references(elements);
  }
  std::string dictionaryObject(const Numbers& keys, const Numbers& values) const {
    return head(0xD0, keys.size()) + references(keys) + references(values);
  }
  std::string references(const Numbers& numbers) const {
    std::string raw;
    for (const std::size_t one : numbers) raw += bigEndian(one, refSize);
    return raw;
  }
  Bytes bytes() const {
    std::string out = "bplist00", table;
    for (const std::string& object : objects) {
      table += bigEndian(out.size(), offsetSize);
      out += object;
    }
    return bytesOf(out + table + trailer(offsetSize, refSize, objects.size(), root, out.size()));
  }

  std::vector<std::string> objects;
  std::size_t refSize = 1;
  std::size_t offsetSize = 2;
  std::uint64_t root = 0;
};

/// A keyed archive put together by hand: `$objects` by entry, entry 0 already being "$null".
struct RawArchive {
  using Uids = std::vector<std::uint64_t>;

  RawArchive() {
    list.refSize = 2;
    list.offsetSize = 4;
    entry(text("$null"));
  }
  /// Adds a raw object as an entry; returns its UID.
  std::uint64_t entry(const std::string& raw) {
    entries.push_back(list.add(raw));
    return entries.size() - 1;
  }
  std::uint64_t classRecord(std::string_view name) {
    return entry(list.dictionaryObject({list.add(text("$classname"))}, {list.add(text(name))}));
  }
  /// A record with a class and further fields by object number.
  std::uint64_t record(std::string_view className,
                       const std::vector<std::pair<std::string, std::size_t>>& fields) {
    RawList::Numbers keys = {list.add(text("$class"))}, values = {list.add(uid(classRecord(className)))};
    for (const auto& [key, value] : fields) {
      keys.push_back(list.add(text(key)));
      values.push_back(value);
    }
    return entry(list.dictionaryObject(keys, values));
  }
  std::uint64_t arrayRecord(const Uids& elements) {
    return record("NSArray", {{"NS.objects", uids(elements)}});
  }
  std::uint64_t dictionaryRecord(const Uids& keys, const Uids& values) {
    return record("NSDictionary", {{"NS.keys", uids(keys)}, {"NS.objects", uids(values)}});
  }
  /// The object number of an array of references.
  std::size_t uids(const Uids& uids) {
    RawList::Numbers elements;
    for (const std::uint64_t value : uids) elements.push_back(list.add(uid(value)));
    return list.array(elements);
  }
  Bytes bytes() const {
    RawList out = list;
    const std::size_t top = out.dictionary({out.add(text("root"))}, {out.add(uid(root))});
    const std::size_t table = out.array(entries);
    out.root = out.dictionary({out.add(text("$version")), out.add(text("$archiver")), out.add(text("$top")),
                               out.add(text("$objects"))},
                              {out.add(number(version)), out.add(text(archiver)), top, table});
    return out.bytes();
  }

  RawList list;
  std::vector<std::size_t> entries;  // object numbers
  std::uint64_t root = 1;
  std::string archiver = "NSKeyedArchiver";
  std::int64_t version = 100000;
};

}  // namespace tunevale::test
