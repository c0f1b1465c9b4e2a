#pragma once

#include <cstdint>
#include <vector>

#include "foundation/BinaryObjects.h"
#include "foundation/KeyShapes.h"
#include "foundation/Storage.h"

namespace tunevale {

/// What a decoder has made of the objects so far, each by its number, and how much it may still read: the
/// heads and contents of distinct objects do not overlap, so together they are no longer than the input.
class DecoderMemo {
 public:
  static constexpr std::uint64_t kNoObject = UINT64_MAX;

  enum class State : std::uint8_t { unknown, open, done };
  struct Slot {
    PlistValue value;
    std::uint32_t nodes = 0;  ///< values in it, itself included, shared ones counted each time
    std::uint8_t height = 0;  ///< containers inside one another
    State state = State::unknown;
    std::uint8_t mark = 0;  ///< for the Source's own use
  };

  explicit DecoderMemo(const BinaryObjects& objects);

  /// Null for an object not met yet and for a number past the end.
  const Slot* find(std::uint64_t number) const {
    return number < slotOf_.size() && slotOf_[number] != 0 ? &slots_[slotOf_[number] - 1] : nullptr;
  }
  /// The index of an object's slot, made if need be. The number must be below the object count.
  std::uint32_t slot(std::uint64_t number);
  Slot& at(std::uint32_t slot) { return slots_[slot]; }
  void begin(std::uint32_t slot) { slots_[slot].state = State::open; }
  void finish(std::uint32_t slot, const PlistValue& value, std::uint32_t nodes, std::uint32_t height);

  /// Reads an object that is no container; false when it is broken.
  bool leaf(std::uint64_t number, const BinaryObjects::Object& object, PlistValue& value);
  /// The same by number, from what was read before if possible; null for a container.
  bool leafAt(std::uint64_t number, PlistValue& value);
  /// An object that was finished before as a key, noKey() when it is no string; false when it was not.
  bool knownText(std::uint64_t number, KeyShapes::Key& key) {
    const Slot* known = find(number);
    if (known == nullptr || known->state != State::done) return false;
    key = known->value.kind() == PlistValue::Kind::string
              ? StorageAccess::rep(StorageAccess::text(known->value))
              : shapes_.noKey();
    return true;
  }
  /// A string object as a key, noKey() when it is no string; false when it is broken.
  bool text(std::uint64_t number, KeyShapes::Key& key);
  /// Takes an object's contents off what may be read; false when there is not that much left.
  bool charge(const BinaryObjects::Object& object);

  KeyShapes& shapes() { return shapes_; }
  std::uint32_t place(std::size_t index) const { return shapes_.place(index); }

 private:
  const BinaryObjects& objects_;
  std::uint64_t bytesLeft_;
  std::vector<std::uint32_t> slotOf_;  // 1 + index into slots_, 0 for none
  std::vector<Slot> slots_;
  KeyShapes shapes_;
};

}  // namespace tunevale
