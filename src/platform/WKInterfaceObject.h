#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Color.h"
#include "platform/Image.h"

namespace tunevale {

/// What the layout says of an element; fixed once built.
struct ElementAttributes {
  std::string outlet;  // the property of the controller or row class; may be empty
  std::string style;   // names for the display's style sheet
  std::string label;   // what a screen reader says where no text does
};

/// A picture on an element: an image of the layout by name, or a decoded one. Neither means none.
struct ImageSource {
  std::string name;
  ImagePtr image;
  friend bool operator==(const ImageSource&, const ImageSource&) = default;
};

/// One element of a screen: a node of a plain tree in memory that a display may watch. Main queue only.
class WKInterfaceObject {
 public:
  enum class Kind { label, image, group, button, slider, picker, table };
  using Children = std::vector<std::unique_ptr<WKInterfaceObject>>;

  virtual ~WKInterfaceObject() = default;
  WKInterfaceObject(const WKInterfaceObject&) = delete;
  WKInterfaceObject& operator=(const WKInterfaceObject&) = delete;

  Kind kind() const { return kind_; }
  const ElementAttributes& attributes() const { return attributes_; }
  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden) { assign(hidden_, hidden); }

  const Children& children() const { return children_; }
  /// Builders only: puts an element last inside this one.
  void adopt(std::unique_ptr<WKInterfaceObject> child) { children_.push_back(std::move(child)); }
  /// Called after each change of this element; it may be set once for a whole tree by whoever shows it. The
  /// function must outlive the element or be replaced.
  void setChangeHandler(const std::function<void()>* handler);

 protected:
  WKInterfaceObject(Kind kind, ElementAttributes attributes)
      : kind_(kind), attributes_(std::move(attributes)) {}
  const std::function<void()>* changeHandler() const { return changeHandler_; }
  void changed() {
    if (changeHandler_ != nullptr) (*changeHandler_)();
  }
  /// Sets a field, and tells of it only when it differs.
  template <class T>
  void assign(T& field, T value) {
    if (field == value) return;
    field = std::move(value);
    changed();
  }
  virtual void changeHandlerDidChange() {}

 private:
  const Kind kind_;
  const ElementAttributes attributes_;
  bool hidden_ = false;
  Children children_;
  const std::function<void()>* changeHandler_ = nullptr;
};

}  // namespace tunevale
