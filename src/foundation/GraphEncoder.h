#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>

#include "foundation/BinaryWriter.h"
#include "foundation/PropertyListLimits.h"
#include "foundation/Storage.h"

namespace tunevale {

/// Walks a value and hands it to a Sink, shared containers once, without recursion. What is nested deeper
/// than kMostNesting could not be read back and goes out as null. The Sink makes the objects:
///
///   Index leaf(const PlistValue&)         a reference to the object for a value that is no container
///   Index open(const PlistArray&, Index& container), open(const PlistDictionary&, Index& container)
///                                         a reference to a new object, its keys filled in, and the container
///                                         whose last elements are its values
template <typename Sink>
class GraphEncoder {
 public:
  using Index = BinaryWriter::Index;

  GraphEncoder(BinaryWriter& writer, Sink& sink) : writer_(writer), sink_(sink) {}

  Index encode(const PlistValue& root) {
    Index reference = visit(root);
    const Index first = reference;
    while (depth_ > 0) {
      Frame& frame = stack_[depth_ - 1];
      if (frame.next == frame.count) {
        finish(frame);
        continue;
      }
      const PlistValue& value =
          frame.items != nullptr ? frame.items[frame.next] : frame.entries[frame.next].value;
      const std::size_t place = frame.next++;
      reference = visit(value);
      writer_.elements(frame.container).last(frame.count)[place] = reference;
    }
    return first;
  }

 private:
  struct Frame {
    const void* identity = nullptr;  // of a container that others may share
    const PlistValue* items = nullptr;
    const PlistDictionary::Entry* entries = nullptr;
    std::size_t next = 0;
    std::size_t count = 0;
    Index container = 0;
    Index reference = 0;
    std::uint32_t height = 1;
    bool cut = false;  // something in it was too deep
  };
  struct Done {
    Index reference;
    std::uint32_t height;
  };

  Index visit(const PlistValue& value) {
    const PlistArray* array = value.array();
    const PlistDictionary* dictionary = value.dictionary();
    if (array == nullptr && dictionary == nullptr) return sink_.leaf(value);
    if (depth_ == kMostNesting) {
      stack_[depth_ - 1].cut = true;
      return sink_.leaf(PlistValue());
    }
    const ContainerRep* rep = array != nullptr ? static_cast<ContainerRep*>(StorageAccess::rep(*array))
                                               : static_cast<ContainerRep*>(StorageAccess::rep(*dictionary));
    const bool shared = rep != nullptr && !rep->isUnique();
    if (shared) {
      const auto known = done_.find(rep);
      if (known != done_.end() && depth_ + known->second.height <= kMostNesting) {
        if (depth_ > 0) raise(stack_[depth_ - 1], known->second.height + 1);
        return known->second.reference;
      }
    }
    Frame frame;
    frame.identity = shared ? rep : nullptr;
    frame.count = rep == nullptr ? 0 : rep->size;
    if (array != nullptr) {
      frame.items = array->begin();
      frame.reference = sink_.open(*array, frame.container);
    } else {
      frame.entries = dictionary->begin();
      frame.reference = sink_.open(*dictionary, frame.container);
    }
    stack_[depth_++] = frame;
    return frame.reference;
  }

  static void raise(Frame& frame, std::uint32_t height) { frame.height = std::max(frame.height, height); }

  void finish(const Frame& frame) {
    if (frame.identity != nullptr && !frame.cut) done_[frame.identity] = {frame.reference, frame.height};
    --depth_;
    if (depth_ == 0) return;
    raise(stack_[depth_ - 1], frame.height + 1);
    stack_[depth_ - 1].cut |= frame.cut;
  }

  BinaryWriter& writer_;
  Sink& sink_;
  std::uint32_t depth_ = 0;
  std::array<Frame, kMostNesting> stack_;
  std::unordered_map<const void*, Done> done_;
};

}  // namespace tunevale
