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

}  // namespace

Bytes writePropertyList(const PlistValue& value) {
  BinaryWriter writer;
  PlainSink sink(writer);
  const BinaryWriter::Index root = GraphEncoder(sink).encode(value);
  return writer.finish(root);
}

}  // namespace tunevale
