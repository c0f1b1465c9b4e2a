#pragma once

#include <string_view>

#include "platform/WKInterfaceObject.h"

namespace tunevale {
class WKInterfacePicker;
}

namespace tunevale::host {

/// An element and whether it can be seen: neither it nor what holds it is hidden.
struct FoundElement {
  WKInterfaceObject* element = nullptr;
  bool visible = false;
};

/// The element of that name (outlet, or id of the layout) in a screen or row, not inside its rows. Null when
/// there is none.
FoundElement findElement(WKInterfaceObject& root, std::string_view name);

/// The visible, enabled picker that has the crown, or null.
WKInterfacePicker* findFocusedPicker(WKInterfaceObject& root);

}  // namespace tunevale::host
