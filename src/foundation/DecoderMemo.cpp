#include "foundation/DecoderMemo.h"

#include "foundation/LeafReader.h"

namespace tunevale {

using Type = BinaryObjects::Type;

DecoderMemo::DecoderMemo(const BinaryObjects& objects)
    : objects_(objects), bytesLeft_(objects.inputSize()), slotOf_(objects.size()) {}

std::uint32_t DecoderMemo::slot(std::uint64_t number) {
  std::uint32_t& slot = slotOf_[number];
  if (slot == 0) {
    slots_.emplace_back();
    slot = static_cast<std::uint32_t>(slots_.size());
  }
  return slot - 1;
}

void DecoderMemo::finish(std::uint32_t slot, const PlistValue& value, std::uint32_t nodes,
                         std::uint32_t height) {
  Slot& entry = slots_[slot];
  entry.value = StorageAccess::copyPrivately(value);
  entry.nodes = nodes;
  entry.height = static_cast<std::uint8_t>(height);
  entry.state = State::done;
}

bool DecoderMemo::charge(const BinaryObjects::Object& object) {
  std::uint64_t bytes = object.count;
  if (object.type == Type::utf16) bytes *= 2;
  if (object.type == Type::array) bytes *= objects_.refSize();
  if (object.type == Type::dictionary) bytes *= 2 * objects_.refSize();
  if (bytes > bytesLeft_) return false;
  bytesLeft_ -= bytes;
  return true;
}

bool DecoderMemo::leaf(std::uint64_t number, const BinaryObjects::Object& object, PlistValue& value) {
  switch (object.type) {
    case Type::boolean:
      value = PlistValue(object.count != 0);
      return true;
    case Type::integer:
      value = integerLeaf(object);
      return true;
    case Type::real:
      value = realLeaf(object);
      return true;
    case Type::data:
    case Type::ascii:
    case Type::utf16:
      if (!charge(object)) return false;
      value = object.type == Type::data ? dataLeaf(object) : PlistValue(textLeaf(object));
      finish(slot(number), value, 1, 0);
      return true;
    default:  // null, and what PlistValue has no kind for
      value = PlistValue();
      return true;
  }
}

bool DecoderMemo::leafAt(std::uint64_t number, PlistValue& value) {
  const Slot* known = find(number);
  if (known != nullptr && known->state == State::done) {
    value = StorageAccess::copyPrivately(known->value);
    return true;
  }
  BinaryObjects::Object object;
  return objects_.read(number, object) && leaf(number, object, value);
}

bool DecoderMemo::text(std::uint64_t number, KeyShapes::Key& key) {
  if (knownText(number, key)) return true;
  key = shapes_.noKey();
  PlistValue value;
  if (!leafAt(number, value)) return false;
  // From here on the memo holds the text, so that the key outlives the value.
  if (value.kind() == PlistValue::Kind::string) key = StorageAccess::rep(StorageAccess::text(value));
  return true;
}

}  // namespace tunevale
