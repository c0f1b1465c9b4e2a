#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "foundation/DecoderMemo.h"
#include "foundation/PropertyListLimits.h"

namespace tunevale {

/// What an object turned out to be: a finished leaf, or a container whose elements are still to be read.
struct OpenedObject {
  enum class Shape : std::uint8_t { leaf, array, dictionary };
  Shape shape = Shape::leaf;
  PlistValue leaf;
  std::uint64_t count = 0;
  const unsigned char* keys = nullptr;    ///< dictionary only
  const unsigned char* values = nullptr;  ///< references that Source::element understands
};

/// Decodes one object and all it refers to, without recursion: containers under construction sit on a stack
/// of at most kMostNesting frames. Every object is decoded once and then shared; meeting one that is still
/// under construction is a cycle. The Source says how references are followed:
///
///   bool open(number, const BinaryObjects::Object&, OpenedObject&)   an array or dictionary object
///   bool element(const unsigned char* at, std::uint64_t& number)     an element's object number or kNoObject
///   bool key(const unsigned char* at, KeyShapes::Key& key)           a key, noKey() when it is no string
template <typename Source>
class GraphDecoder {
 public:
  GraphDecoder(const BinaryObjects& objects, DecoderMemo& memo, Source& source, std::uint32_t mostNodes)
      : objects_(objects), memo_(memo), source_(source), mostNodes_(mostNodes) {}

  std::optional<PlistValue> decode(std::uint64_t root) {
    Outcome outcome = visit(root);
    for (;;) {
      if (outcome == Outcome::broken) return std::nullopt;
      if (outcome == Outcome::finished) {
        if (depth_ == 0) return std::move(value_);
        if (!attach()) return std::nullopt;
      }
      outcome = proceed();
    }
  }

 private:
  enum class Outcome : std::uint8_t { broken, finished, entered };

  struct Frame {
    PlistValue container;
    std::uint32_t slot = 0;
    std::uint32_t next = 0;
    std::uint32_t count = 0;
    std::uint32_t nodes = 1;
    std::uint32_t height = 1;
    const unsigned char* values = nullptr;
    std::size_t places = 0;  // dictionary: where each value goes, an index into memo_'s places
  };

  /// Continues the innermost container with its next element, or finishes it.
  Outcome proceed() {
    Frame& frame = stack_[depth_ - 1];
    if (frame.container.kind() == PlistValue::Kind::dictionary) {
      while (frame.next < frame.count && memo_.place(frame.places + frame.next) == KeyShapes::kSkipped)
        ++frame.next;
    }
    if (frame.next == frame.count) return finish(frame);
    std::uint64_t number = 0;
    if (!source_.element(objects_.skip(frame.values, frame.next), number)) return Outcome::broken;
    ++frame.next;
    return visit(number);
  }

  Outcome visit(std::uint64_t number) {
    nodes_ = 1;
    height_ = 0;
    if (number == DecoderMemo::kNoObject) {
      value_ = PlistValue();
      return Outcome::finished;
    }
    if (const DecoderMemo::Slot* known = memo_.find(number)) {
      if (known->state == DecoderMemo::State::open) return Outcome::broken;
      if (known->state == DecoderMemo::State::done) {
        value_ = StorageAccess::copyPrivately(known->value);
        nodes_ = known->nodes;
        height_ = known->height;
        return Outcome::finished;
      }
    }
    BinaryObjects::Object object;
    if (!objects_.read(number, object)) return Outcome::broken;
    if (object.type != BinaryObjects::Type::array && object.type != BinaryObjects::Type::dictionary) {
      return memo_.leaf(number, object, value_) ? Outcome::finished : Outcome::broken;
    }
    if (!memo_.charge(object)) return Outcome::broken;
    OpenedObject opened;
    if (!source_.open(number, object, opened)) return Outcome::broken;
    if (opened.shape == OpenedObject::Shape::leaf) {
      memo_.finish(memo_.slot(number), opened.leaf, 1, 0);
      value_ = std::move(opened.leaf);
      return Outcome::finished;
    }
    return enter(number, opened) ? Outcome::entered : Outcome::broken;
  }

  bool enter(std::uint64_t number, const OpenedObject& opened) {
    if (depth_ == kMostNesting || opened.count > mostNodes_ - visited_) return false;
    const auto count = static_cast<std::uint32_t>(opened.count);
    visited_ += count;
    Frame& frame = stack_[depth_];
    frame.next = 0;
    frame.count = count;
    frame.nodes = 1;
    frame.height = 1;
    frame.values = opened.values;
    if (opened.shape == OpenedObject::Shape::array) {
      PlistArray array;
      if (count > 0) array = StorageAccess::adopt(StorageAccess::ArrayRep::allocate(count));
      frame.container = PlistValue(std::move(array));
    } else {
      PlistDictionary dictionary;
      if (!layOut(opened.keys, count, frame.places, dictionary)) return false;
      frame.container = PlistValue(std::move(dictionary));
    }
    frame.slot = memo_.slot(number);
    memo_.begin(frame.slot);
    ++depth_;
    return true;
  }

  /// Reads all keys of a dictionary and puts them, sorted, before values that are still null.
  bool layOut(const unsigned char* keys, std::uint32_t count, std::size_t& places,
              PlistDictionary& dictionary) {
    KeyShapes& shapes = memo_.shapes();
    const std::string_view references(reinterpret_cast<const char*>(keys), count * objects_.refSize());
    const KeyShapes::Shape* known = shapes.find(references);
    if (known == nullptr) {
      shapes.start();
      for (std::uint32_t i = 0; i < count; ++i) {
        KeyShapes::Key key = nullptr;
        if (!source_.key(objects_.skip(keys, i), key)) return false;
        shapes.add(key);
      }
    }
    const KeyShapes::Shape shape = known != nullptr ? *known : shapes.finish(references);
    places = shape.places;
    if (shape.distinct == 0) return true;
    auto* rep = StorageAccess::DictionaryRep::allocate(shape.distinct);
    const KeyShapes::Key* listed = shapes.keys(shape);
    const std::uint32_t* place = shapes.places(shape);
    for (std::uint32_t i = 0; i < count; ++i) {
      if (place[i] == KeyShapes::kSkipped) continue;
      if (listed[i] != nullptr) listed[i]->retainPrivately();
      new (rep->entries() + place[i]) PlistDictionary::Entry{StorageAccess::adopt(listed[i]), PlistValue()};
    }
    rep->size = shape.distinct;
    dictionary = StorageAccess::adopt(rep);
    return true;
  }

  Outcome finish(Frame& frame) {
    memo_.finish(frame.slot, frame.container, frame.nodes, frame.height);
    value_ = std::move(frame.container);
    nodes_ = frame.nodes;
    height_ = frame.height;
    --depth_;
    return Outcome::finished;
  }

  /// Puts the value just finished into the innermost container.
  bool attach() {
    Frame& frame = stack_[depth_ - 1];
    frame.nodes += nodes_;  // both are at most kMostNodes
    frame.height = std::max(frame.height, height_ + 1);
    if (frame.nodes > mostNodes_ || frame.height > kMostNesting) return false;
    if (frame.container.kind() == PlistValue::Kind::array) {
      auto* rep = StorageAccess::rep(StorageAccess::array(frame.container));
      std::construct_at(rep->items() + rep->size, std::move(value_));
      ++rep->size;
    } else {
      auto* rep = StorageAccess::rep(StorageAccess::dictionary(frame.container));
      rep->entries()[memo_.place(frame.places + frame.next - 1)].value = std::move(value_);
    }
    return true;
  }

  const BinaryObjects& objects_;
  DecoderMemo& memo_;
  Source& source_;
  const std::uint32_t mostNodes_;
  std::uint32_t visited_ = 0;  // elements of containers built so far
  std::uint32_t depth_ = 0;
  PlistValue value_;  // the value just finished, with its expanded count and nesting
  std::uint32_t nodes_ = 1;
  std::uint32_t height_ = 0;
  std::array<Frame, kMostNesting> stack_;
};

}  // namespace tunevale
