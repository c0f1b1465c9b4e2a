#pragma once

#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// A level between two bounds that the layout sets.
class WKInterfaceSlider : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::slider;
  WKInterfaceSlider(ElementAttributes attributes, float minimum, float maximum)
      : WKInterfaceObject(kKind, std::move(attributes)),
        minimum_(minimum),
        maximum_(maximum),
        value_(minimum) {}
  float minimum() const { return minimum_; }
  float maximum() const { return maximum_; }
  float value() const { return value_; }
  /// Values past a bound become that bound; what is no number is ignored.
  void setValue(float value);

 private:
  const float minimum_;
  const float maximum_;
  float value_;
};

}  // namespace tunevale
