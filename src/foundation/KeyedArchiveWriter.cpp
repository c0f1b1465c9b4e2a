#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>
#include <vector>

#include "foundation/ArchiveNames.h"
#include "foundation/GraphEncoder.h"
#include "foundation/KeyedArchive.h"
#include "foundation/LeafWriter.h"

namespace tunevale {
namespace {

/// Turns values into entries of `$objects` and hands out references to them.
class ArchiveSink {
 public:
  using Index = BinaryWriter::Index;

  explicit ArchiveSink(BinaryWriter& writer) : writer_(writer) {
    objects_.push_back(writer_.text(kNullName));
  }

  Index leaf(const PlistValue& value) {
    if (value.isNull()) return null();
    const Index item = writeLeaf(writer_, value);
    if (value.kind() == PlistValue::Kind::bytes) return wrapped(item, "NSData", ArchiveKey::data);
    // Bare, this text would read as nothing at all.
    if (value.string() == kNullName) return wrapped(item, "NSString", ArchiveKey::string);
    return entryFor(item);
  }

  Index open(const PlistArray& array, Index& container) {
    const Index record = writer_.dictionary(2);
    const Index reference = addEntry(record);
    container = writer_.array(array.size());
    fill(record, {{ArchiveKey::recordClass, classRecord("NSArray")}, {ArchiveKey::values, container}});
    return reference;
  }

  Index open(const PlistDictionary& dictionary, Index& container) {
    const Index record = writer_.dictionary(3);
    const Index reference = addEntry(record);
    keys_.clear();
    for (const PlistDictionary::Entry& entry : dictionary) keys_.push_back(key(entry.key));
    const Index keys = writer_.list(keys_);
    container = writer_.array(dictionary.size());
    fill(record, {{ArchiveKey::recordClass, classRecord("NSDictionary")},
                  {ArchiveKey::keys, keys},
                  {ArchiveKey::values, container}});
    return reference;
  }

  /// The archive around all entries; returns its object.
  Index finish(Index root) {
    const Index table = writer_.array(objects_.size());
    std::copy(objects_.begin(), objects_.end(), writer_.elements(table).begin());
    const Index top = writer_.dictionary(1);
    fill(top, {{ArchiveKey::root, root}});
    const Index archive = writer_.dictionary(4);
    fill(archive, {{ArchiveKey::version, writer_.integer(kArchiveVersion)},
                   {ArchiveKey::archiver, writer_.text(kArchiver)},
                   {ArchiveKey::top, top},
                   {ArchiveKey::objects, table}});
    return archive;
  }

 private:
  using Field = std::pair<ArchiveKey, Index>;

  /// Makes an object an entry of `$objects`; returns the reference to it.
  Index addEntry(Index item) {
    const Index reference = writer_.uid(static_cast<Index>(objects_.size()));
    objects_.push_back(item);
    return reference;
  }

  /// The same, once for each object.
  Index entryFor(Index item) {
    if (item >= references_.size())
      references_.resize(std::max<std::size_t>(item + 1, 2 * references_.size()));
    if (references_[item] == 0) references_[item] = addEntry(item) + 1;
    return references_[item] - 1;
  }

  Index key(const PlistString& key) {
    const Index item = writer_.text(key.view());
    return key.view() == kNullName ? wrapped(item, "NSString", ArchiveKey::string) : entryFor(item);
  }

  Index null() {
    if (null_ == 0) {
      const Index record = writer_.dictionary(1);
      fill(record, {{ArchiveKey::recordClass, classRecord("NSNull")}});
      null_ = addEntry(record) + 1;
    }
    return null_ - 1;
  }

  Index wrapped(Index item, std::string_view className, ArchiveKey key) {
    if (item >= references_.size()) references_.resize(item + 1);
    if (references_[item] == 0) {
      const Index record = writer_.dictionary(2);
      fill(record, {{ArchiveKey::recordClass, classRecord(className)}, {key, item}});
      references_[item] = addEntry(record) + 1;
    }
    return references_[item] - 1;
  }

  /// A reference to the record of a class whose parent is the root class.
  Index classRecord(std::string_view name) {
    for (const auto& [known, reference] : classes_) {
      if (known == name) return reference;
    }
    const Index className = writer_.text(name);
    const std::array<Index, 2> chain = {className, writer_.text("NSObject")};
    const Index record = writer_.dictionary(2);
    fill(record, {{ArchiveKey::className, className}, {ArchiveKey::classes, writer_.list(chain)}});
    classes_.emplace_back(name, addEntry(record));
    return classes_.back().second;
  }

  void fill(Index dictionary, std::initializer_list<Field> fields) {
    std::size_t place = 0;
    for (const auto& [key, value] : fields) {
      const Index name = writer_.text(kArchiveKeys[static_cast<std::size_t>(key)]);
      const auto elements = writer_.elements(dictionary);
      elements[place] = name;
      elements[place + fields.size()] = value;
      ++place;
    }
  }

  BinaryWriter& writer_;
  std::vector<Index> objects_;     // entry to object
  std::vector<Index> references_;  // object to 1 + reference, 0 for no entry yet
  std::vector<Index> keys_;
  std::vector<std::pair<std::string_view, Index>> classes_;
  Index null_ = 0;
};

}  // namespace

Bytes archivedDataWithRootObject(const PlistValue& root) {
  BinaryWriter writer;
  ArchiveSink sink(writer);
  const BinaryWriter::Index reference = GraphEncoder(writer, sink).encode(root);
  return writer.finish(sink.finish(reference));
}

}  // namespace tunevale
