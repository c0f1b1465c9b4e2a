#include "foundation/ArchiveSource.h"

#include "foundation/LeafReader.h"

namespace tunevale {

using Type = BinaryObjects::Type;
using Object = BinaryObjects::Object;
constexpr std::uint64_t kNoObject = DecoderMemo::kNoObject;

std::optional<std::uint64_t> ArchiveSource::start() {
  Object object;
  Record archive;
  if (!objects_.read(objects_.root(), object) || !readRecord(object, archive)) return std::nullopt;
  if (!textIs(field(archive, ArchiveKey::archiver), kArchiver)) return std::nullopt;
  if (!objects_.read(field(archive, ArchiveKey::version), object) || object.type != Type::integer)
    return std::nullopt;
  if (integerLeaf(object).integer() != kArchiveVersion) return std::nullopt;
  if (!elements(field(archive, ArchiveKey::objects), tableCount_, table_)) return std::nullopt;

  Record top;
  if (!objects_.read(field(archive, ArchiveKey::top), object) || !readRecord(object, top))
    return std::nullopt;
  std::uint64_t root = 0;
  if (!follow(field(top, ArchiveKey::root), root)) return std::nullopt;
  return root;
}

bool ArchiveSource::open(std::uint64_t, const Object& object, OpenedObject& opened) {
  if (object.type != Type::dictionary) return true;  // a bare array is no archived object: null
  Record record;
  if (!readRecord(object, record)) return false;
  if (field(record, ArchiveKey::recordClass) == kNoObject) return true;
  ArchiveClass kind = ArchiveClass::other;
  if (!classOf(field(record, ArchiveKey::recordClass), kind)) return false;

  std::uint64_t keyCount = 0;
  switch (kind) {
    case ArchiveClass::dictionary:
      opened.shape = OpenedObject::Shape::dictionary;
      return elements(field(record, ArchiveKey::values), opened.count, opened.values) &&
             elements(field(record, ArchiveKey::keys), keyCount, opened.keys) && keyCount == opened.count;
    case ArchiveClass::array:
      opened.shape = OpenedObject::Shape::array;
      return elements(field(record, ArchiveKey::values), opened.count, opened.values);
    case ArchiveClass::string:
      return openText(record, opened.leaf);
    case ArchiveClass::data:
      return openData(record, opened.leaf);
    default:
      return true;
  }
}

bool ArchiveSource::key(const unsigned char* at, KeyShapes::Key& key) {
  key = memo_.shapes().noKey();
  std::uint64_t number = 0;
  if (!element(at, number)) return false;
  if (number == kNoObject || memo_.knownText(number, key)) return true;
  Object object;
  if (!objects_.read(number, object)) return false;
  if (object.type == Type::dictionary) {
    OpenedObject opened;  // perhaps a mutable string
    if (!memo_.charge(object) || !open(number, object, opened)) return false;
    if (opened.shape != OpenedObject::Shape::leaf) return true;
    memo_.finish(memo_.slot(number), opened.leaf, 1, 0);
  }
  return memo_.text(number, key);
}

bool ArchiveSource::readRecord(const Object& object, Record& record) {
  if (object.type != Type::dictionary) return false;
  record.fill(kNoObject);
  const unsigned char* values = objects_.skip(object.body, object.count);
  for (std::uint64_t i = 0; i < object.count; ++i) {
    const ArchiveKey key = keyNamed(objects_.refAt(objects_.skip(object.body, i)));
    if (key != ArchiveKey::other)
      record[static_cast<std::size_t>(key)] = objects_.refAt(objects_.skip(values, i));
  }
  return true;
}

ArchiveKey ArchiveSource::keyNamed(std::uint64_t number) {
  NamedKey& recent = namedKeys_[number % namedKeys_.size()];
  if (recent.number == number) return recent.key;
  std::size_t index = 0;
  while (index < kArchiveKeys.size() && !textIs(number, kArchiveKeys[index])) ++index;
  recent = {number, static_cast<ArchiveKey>(index)};
  return recent.key;
}

bool ArchiveSource::classOf(std::uint64_t reference, ArchiveClass& kind) {
  std::uint64_t number = 0;
  if (!follow(reference, number) || number == kNoObject) return false;
  const std::uint32_t slot = memo_.slot(number);
  kind = static_cast<ArchiveClass>(memo_.at(slot).mark);
  if (kind != ArchiveClass::unknown) return true;

  Object object;
  Record record;
  if (!objects_.read(number, object) || !memo_.charge(object) || !readRecord(object, record)) return false;
  const std::uint64_t name = field(record, ArchiveKey::className);
  if (name == kNoObject) return false;
  kind = ArchiveClass::other;
  for (const ArchiveClassName& known : kArchiveClasses) {
    if (textIs(name, known.name)) kind = known.kind;
  }
  memo_.at(slot).mark = static_cast<std::uint8_t>(kind);
  return true;
}

bool ArchiveSource::elements(std::uint64_t number, std::uint64_t& count, const unsigned char*& first) const {
  Object object;
  if (!objects_.read(number, object) || object.type != Type::array) return false;
  count = object.count;
  first = object.body;
  return true;
}

bool ArchiveSource::openText(const Record& record, PlistValue& value) {
  const std::uint64_t text = field(record, ArchiveKey::string);
  std::uint64_t number = 0;
  if (!follow(text != kNoObject ? text : field(record, ArchiveKey::bytes), number)) return false;
  if (!memo_.leafAt(number, value)) return false;
  if (const auto bytes = value.bytes()) value = PlistValue(asText(*bytes));
  return value.kind() == PlistValue::Kind::string;
}

bool ArchiveSource::openData(const Record& record, PlistValue& value) {
  const std::uint64_t data = field(record, ArchiveKey::data);
  std::uint64_t number = 0;
  if (!follow(data != kNoObject ? data : field(record, ArchiveKey::bytes), number)) return false;
  return memo_.leafAt(number, value) && value.kind() == PlistValue::Kind::bytes;
}

bool ArchiveSource::textIs(std::uint64_t number, std::string_view text) const {
  Object object;
  return objects_.read(number, object) && object.type == Type::ascii && object.count == text.size() &&
         std::memcmp(object.body, text.data(), text.size()) == 0;
}

}  // namespace tunevale
