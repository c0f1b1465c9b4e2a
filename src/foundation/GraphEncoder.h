#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "foundation/BinaryWriter.h"
#include "foundation/PropertyListLimits.h"
#include "foundation/Storage.h"

namespace tunevale {

/// Walks a value and hands it to a Sink, children before parents and without recursion. What is nested deeper
/// than kMostNesting could not be read back and goes out as null. The Sink makes the objects and returns
/// references to them:
///
///   Index leaf(const PlistValue&)                                      a value that is no container
///   Index array(std::span<const Index> elements)                       by the references of its elements
///   Index dictionary(const PlistDictionary&, std::span<const Index>)   by those of its values
template <typename Sink>
class GraphEncoder {
 public:
  using Index = BinaryWriter::Index;

  explicit GraphEncoder(Sink& sink) : sink_(sink) {}

  /// Whether something was nested too deep.
  bool hasCut() const { return hasCut_; }
  /// The reference of the root.
  Index encode(const PlistValue& root) {
    visit(root);
    while (depth_ > 0) {
      Frame& frame = stack_[depth_ - 1];
      if (frame.next == frame.count) {
        finish();
      } else {
        const std::size_t i = frame.next++;
        visit(frame.dictionary != nullptr ? frame.dictionary->begin()[i].value : frame.items[i]);
      }
    }
    return references_.back();
  }

 private:
  struct Frame {
    const void* identity = nullptr;  // of a container that has other holders
    const PlistDictionary* dictionary = nullptr;
    const PlistValue* items = nullptr;
    std::size_t next = 0;
    std::size_t count = 0;
    std::uint32_t height = 1;
    bool cut = false;  // something in it was too deep
  };
  struct Done {
    Index reference;
    std::uint32_t height;
  };

  /// Leaves one reference, at once or when the container that it enters is finished.
  void visit(const PlistValue& value) {
    const PlistArray* array = value.array();
    const PlistDictionary* dictionary = value.dictionary();
    if (array == nullptr && dictionary == nullptr) {
      references_.push_back(sink_.leaf(value));
      return;
    }
    if (depth_ == kMostNesting) {
      references_.push_back(sink_.leaf(PlistValue()));
      stack_[depth_ - 1].cut = hasCut_ = true;
      return;
    }
    const ContainerRep* rep = array != nullptr ? static_cast<ContainerRep*>(StorageAccess::rep(*array))
                                               : static_cast<ContainerRep*>(StorageAccess::rep(*dictionary));
    const bool shared = rep != nullptr && !rep->isUnique();
    if (shared) {
      const auto known = done_.find(rep);
      if (known != done_.end() && depth_ + known->second.height <= kMostNesting) {
        references_.push_back(known->second.reference);
        raise(known->second.height);
        return;
      }
    }
    Frame& frame = stack_[depth_++];
    frame = Frame();
    frame.identity = shared ? rep : nullptr;
    frame.dictionary = dictionary;
    frame.items = array != nullptr ? array->begin() : nullptr;
    frame.count = rep == nullptr ? 0 : rep->size;
  }

  /// Tells the innermost container how deep a child of it goes.
  void raise(std::uint32_t height) {
    if (depth_ > 0) stack_[depth_ - 1].height = std::max(stack_[depth_ - 1].height, height + 1);
  }

  void finish() {
    const Frame& frame = stack_[depth_ - 1];
    const auto children = std::span<const Index>(references_).last(frame.count);
    const Index reference =
        frame.dictionary != nullptr ? sink_.dictionary(*frame.dictionary, children) : sink_.array(children);
    references_.resize(references_.size() - frame.count);
    references_.push_back(reference);
    if (frame.identity != nullptr && !frame.cut) done_[frame.identity] = {reference, frame.height};
    --depth_;
    raise(frame.height);
    if (depth_ > 0) stack_[depth_ - 1].cut |= frame.cut;
  }

  Sink& sink_;
  std::uint32_t depth_ = 0;
  bool hasCut_ = false;
  std::array<Frame, kMostNesting> stack_;
  std::vector<Index> references_;  // of finished children whose containers are not
  std::unordered_map<const void*, Done> done_;
};

}  // namespace tunevale
