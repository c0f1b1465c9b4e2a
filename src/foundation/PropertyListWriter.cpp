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

  Index open(const PlistArray& array, Index& container) { return container = writer_.array(array.size()); }

  Index open(const PlistDictionary& dictionary, Index& container) {
    container = writer_.dictionary(dictionary.size());
    std::size_t place = 0;
    for (const PlistDictionary::Entry& entry : dictionary) {
      const Index key = writer_.text(entry.key.view());
      writer_.elements(container)[place++] = key;
    }
    return container;
  }

 private:
  BinaryWriter& writer_;
};

}  // namespace

Bytes writePropertyList(const PlistValue& value) {
  BinaryWriter writer;
  PlainSink sink(writer);
  const BinaryWriter::Index root = GraphEncoder(writer, sink).encode(value);
  return writer.finish(root);
}

}  // namespace tunevale
