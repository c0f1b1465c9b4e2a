#include "foundation/GraphEncoder.h"
#include "foundation/LeafWriter.h"
#include "foundation/PropertyList.h"

namespace tunevale {
namespace {

class PlainSink {
 public:
  using Index = BinaryWriter::Index;

  explicit PlainSink(BinaryWriter& writer) : writer_(writer) {}

  Index leaf(const PlistValue& value) { return writeLeaf(writer_, value); }

  Index array(std::span<const Index> elements) { return writer_.array(elements); }

  Index dictionary(const PlistDictionary& dictionary, std::span<const Index> values) {
    keys_.clear();
    for (const PlistDictionary::Entry& entry : dictionary) keys_.push_back(writer_.text(entry.key.view()));
    return writer_.dictionary(keys_, values);
  }

 private:
  BinaryWriter& writer_;
  std::vector<Index> keys_;
};

Bytes write(const PlistValue& value, bool& hasCut) {
  BinaryWriter writer;
  PlainSink sink(writer);
  GraphEncoder encoder(sink);
  const BinaryWriter::Index root = encoder.encode(value);
  hasCut = encoder.hasCut();
  return writer.finish(root);
}

}  // namespace

Bytes writePropertyList(const PlistValue& value) {
  bool ignored = false;
  return write(value, ignored);
}

std::optional<Bytes> writeWholePropertyList(const PlistValue& value) {
  bool hasCut = false;
  Bytes bytes = write(value, hasCut);
  return hasCut ? std::nullopt : std::optional(std::move(bytes));
}

}  // namespace tunevale
