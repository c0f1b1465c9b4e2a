#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>
#include <utility>
#include <vector>

#include "foundation/ArchiveNames.h"
#include "foundation/GraphEncoder.h"
#include "foundation/KeyLists.h"
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
    if (value.isNull()) return record<1>({{{ArchiveKey::recordClass, classRecord({"NSNull"})}}});
    if (value.kind() == PlistValue::Kind::string) return text(*value.string());
    return entry(writeLeaf(writer_, value));
  }

  Index array(std::span<const Index> elements) {
    const Index values = writer_.array(elements);
    return record<2>({{{ArchiveKey::recordClass, classRecord({"NSArray"})}, {ArchiveKey::values, values}}});
  }

  Index dictionary(const PlistDictionary& dictionary, std::span<const Index> elements) {
    const Index keys = keyList(dictionary);
    const Index values = writer_.array(elements);
    return record<3>({{{ArchiveKey::recordClass, classRecord({"NSDictionary"})},
                       {ArchiveKey::keys, keys},
                       {ArchiveKey::values, values}}});
  }

  /// The archive around all entries; returns its object.
  Index finish(Index root) {
    const Index table = writer_.array(objects_);
    return fields<4>({{{ArchiveKey::version, writer_.integer(kArchiveVersion)},
                       {ArchiveKey::archiver, writer_.text(kArchiver)},
                       {ArchiveKey::top, fields<1>({{{ArchiveKey::root, root}}})},
                       {ArchiveKey::objects, table}}});
  }

 private:
  template <std::size_t n>
  using Fields = std::array<std::pair<ArchiveKey, Index>, n>;

  /// Makes an object an entry of `$objects`, once; returns the reference to the entry.
  Index entry(Index item) {
    if (item >= references_.size())
      references_.resize(std::max<std::size_t>(item + 1, 2 * references_.size()));
    if (references_[item] == 0) {
      references_[item] = writer_.uid(static_cast<Index>(objects_.size())) + 1;
      objects_.push_back(item);
    }
    return references_[item] - 1;
  }

  /// A list of references to a dictionary's keys.
  Index keyList(const PlistDictionary& dictionary) {
    if (const Index* known = keyLists_.find(dictionary)) return *known;
    keys_.clear();
    for (const PlistDictionary::Entry& entry : dictionary) keys_.push_back(text(entry.key.view()));
    const Index list = writer_.array(keys_);
    keyLists_.note(dictionary, list);
    return list;
  }

  Index name(ArchiveKey key) {
    Index& known = names_[static_cast<std::size_t>(key)];
    if (known == 0) known = writer_.text(kArchiveKeys[static_cast<std::size_t>(key)]) + 1;
    return known - 1;
  }

  template <std::size_t n>
  Index fields(const Fields<n>& fields) {
    std::array<Index, n> names;
    std::array<Index, n> values;
    for (std::size_t i = 0; i < n; ++i) {
      names[i] = name(fields[i].first);
      values[i] = fields[i].second;
    }
    return writer_.dictionary(names, values);
  }

  template <std::size_t n>
  Index record(const Fields<n>& content) {
    return entry(fields<n>(content));
  }

  Index text(std::string_view text) {
    const Index item = writer_.text(text);
    if (text != kNullName) return entry(item);
    // Bare, this text would read as nothing at all.
    return record<2>({{{ArchiveKey::recordClass, classRecord({"NSMutableString", "NSString"})},
                       {ArchiveKey::string, item}}});
  }

  /// A reference to the record of a class, named before its parents; the root of all classes is added.
  Index classRecord(std::initializer_list<std::string_view> chain) {
    for (const auto& [known, reference] : classes_) {
      if (known == *chain.begin()) return reference;
    }
    std::vector<Index> names;
    for (const std::string_view name : chain) names.push_back(writer_.text(name));
    names.push_back(writer_.text("NSObject"));
    const Index classes = writer_.array(names);
    const Index reference = record<2>({{{ArchiveKey::className, names[0]}, {ArchiveKey::classes, classes}}});
    classes_.emplace_back(*chain.begin(), reference);
    return reference;
  }

  BinaryWriter& writer_;
  std::vector<Index> objects_;     // entry to object
  std::vector<Index> references_;  // object to 1 + reference, 0 for no entry yet
  std::vector<Index> keys_;
  KeyLists keyLists_;
  std::array<Index, kArchiveKeys.size()> names_{};  // 1 + object
  std::vector<std::pair<std::string_view, Index>> classes_;
};

}  // namespace

Bytes archivedDataWithRootObject(const PlistValue& root) {
  BinaryWriter writer;
  ArchiveSink sink(writer);
  const BinaryWriter::Index reference = GraphEncoder(sink).encode(root);
  return writer.finish(sink.finish(reference));
}

}  // namespace tunevale
