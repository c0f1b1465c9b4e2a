#include "foundation/RawList.h"

#include <bit>

namespace tunevale::test {

std::string bigEndian(std::uint64_t value, std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = size; i-- > 0; value >>= 8) bytes[i] = static_cast<char>(value & 255);
  return bytes;
}

std::string head(int marker, std::uint64_t count) {
  if (count < 15) return std::string(1, static_cast<char>(marker | static_cast<int>(count)));
  return std::string(1, static_cast<char>(marker | 15)) + '\x12' + bigEndian(count, 4);
}

std::string text(std::string_view ascii) {
  return head(0x50, ascii.size()) + std::string(ascii);
}

std::string utf16(std::u16string_view units) {
  std::string bytes = head(0x60, units.size());
  for (const char16_t unit : units) bytes += bigEndian(unit, 2);
  return bytes;
}

std::string data(std::string_view bytes) {
  return head(0x40, bytes.size()) + std::string(bytes);
}
std::string number(std::int64_t value) {
  return '\x13' + bigEndian(static_cast<std::uint64_t>(value), 8);
}
std::string uid(std::uint64_t value) {
  return '\x81' + bigEndian(value, 2);
}

std::size_t RawList::add(std::string raw) {
  objects.push_back(std::move(raw));
  return objects.size() - 1;
}

std::string RawList::arrayObject(const std::vector<std::size_t>& elements) const {
  std::string raw = head(0xA0, elements.size());
  for (const std::size_t element : elements) raw += bigEndian(element, refSize);
  return raw;
}

std::string RawList::dictionaryObject(const std::vector<std::size_t>& keys,
                                      const std::vector<std::size_t>& values) const {
  std::string raw = head(0xD0, keys.size());
  for (const std::size_t key : keys) raw += bigEndian(key, refSize);
  for (const std::size_t value : values) raw += bigEndian(value, refSize);
  return raw;
}

Bytes RawList::bytes() const {
  std::string out = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += bigEndian(out.size(), offsetSize);
    out += object;
  }
  const std::size_t tableOffset = out.size();
  out += table + std::string(6, '\0') + static_cast<char>(offsetSize) + static_cast<char>(refSize) +
         bigEndian(objects.size(), 8) + bigEndian(root, 8) + bigEndian(tableOffset, 8);
  const ByteView view = asBytes(out);
  return {view.begin(), view.end()};
}

RawArchive::RawArchive() {
  list.refSize = 2;
  list.offsetSize = 4;
  entry(text("$null"));
}

std::uint64_t RawArchive::entry(const std::string& raw) {
  entries.push_back(list.add(raw));
  return entries.size() - 1;
}

std::uint64_t RawArchive::classRecord(std::string_view name) {
  const std::size_t className = list.add(text(name));
  const std::size_t chain = list.array({className});
  return entry(
      list.dictionaryObject({list.add(text("$classname")), list.add(text("$classes"))}, {className, chain}));
}

std::uint64_t RawArchive::record(std::string_view className,
                                 std::vector<std::pair<std::string, std::size_t>> fields) {
  std::vector<std::size_t> keys = {list.add(text("$class"))};
  std::vector<std::size_t> values = {list.add(uid(classRecord(className)))};
  for (const auto& [key, value] : fields) {
    keys.push_back(list.add(text(key)));
    values.push_back(value);
  }
  return entry(list.dictionaryObject(keys, values));
}

std::size_t RawArchive::uids(const std::vector<std::uint64_t>& uids) {
  std::vector<std::size_t> elements;
  for (const std::uint64_t value : uids) elements.push_back(list.add(uid(value)));
  return list.add(list.arrayObject(elements));
}

std::uint64_t RawArchive::arrayRecord(const std::vector<std::uint64_t>& elements,
                                      std::string_view className) {
  return record(className, {{"NS.objects", uids(elements)}});
}

std::uint64_t RawArchive::dictionaryRecord(const std::vector<std::uint64_t>& keys,
                                           const std::vector<std::uint64_t>& values,
                                           std::string_view className) {
  const std::size_t keyList = uids(keys);
  return record(className, {{"NS.keys", keyList}, {"NS.objects", uids(values)}});
}

Bytes RawArchive::bytes() const {
  RawList out = list;
  const std::size_t top = out.dictionary({out.add(text("root"))}, {out.add(uid(root))});
  const std::size_t table = out.add(out.arrayObject(entries));
  out.root = out.dictionary({out.add(text("$version")), out.add(text("$archiver")), out.add(text("$top")),
                             out.add(text("$objects"))},
                            {out.add(number(version)), out.add(text(archiver)), top, table});
  return out.bytes();
}

}  // namespace tunevale::test
