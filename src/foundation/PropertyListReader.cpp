#include "foundation/GraphDecoder.h"
#include "foundation/PropertyList.h"

namespace tunevale {
namespace {

/// A plain property list: containers hold the numbers of their elements.
class PlainSource {
 public:
  PlainSource(const BinaryObjects& objects, DecoderMemo& memo) : objects_(objects), memo_(memo) {}

  bool open(std::uint64_t, const BinaryObjects::Object& object, OpenedObject& opened) {
    opened.count = object.count;
    opened.values = object.body;
    opened.shape = OpenedObject::Shape::array;
    if (object.type == BinaryObjects::Type::dictionary) {
      opened.shape = OpenedObject::Shape::dictionary;
      opened.keys = object.body;
      opened.values = objects_.skip(object.body, object.count);
    }
    return true;
  }

  bool element(const unsigned char* at, std::uint64_t& number) {
    number = objects_.refAt(at);
    return true;
  }

  bool key(const unsigned char* at, KeyShapes::Key& key) { return memo_.text(objects_.refAt(at), key); }

 private:
  const BinaryObjects& objects_;
  DecoderMemo& memo_;
};

std::optional<PlistValue> read(ByteView input, std::uint32_t mostNodes) {
  const auto objects = BinaryObjects::open(input);
  if (!objects) return std::nullopt;
  DecoderMemo memo(*objects);
  PlainSource source(*objects, memo);
  return GraphDecoder(*objects, memo, source, mostNodes).decode(objects->root());
}

}  // namespace

std::optional<PlistValue> readPropertyList(ByteView input) {
  return read(input, mostNodesIn(input.size()));
}

std::optional<PlistValue> readOwnPropertyList(ByteView input) {
  return read(input, kMostNodes);
}

}  // namespace tunevale
