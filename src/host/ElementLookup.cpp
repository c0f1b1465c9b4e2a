#include "host/ElementLookup.h"

#include "platform/WKInterfacePicker.h"

namespace tunevale::host {

FoundElement findElement(WKInterfaceObject& root, std::string_view name) {
  if (!name.empty() && root.attributes().outlet == name) return {&root, !root.isHidden()};
  for (const auto& child : root.children()) {
    FoundElement found = findElement(*child, name);
    if (found.element == nullptr) continue;
    found.visible = found.visible && !root.isHidden();
    return found;
  }
  return {};
}

WKInterfacePicker* findFocusedPicker(WKInterfaceObject& root) {
  if (root.isHidden()) return nullptr;
  if (auto* picker = dynamic_cast<WKInterfacePicker*>(&root)) {
    return picker->isFocused() && picker->isEnabled() ? picker : nullptr;
  }
  for (const auto& child : root.children()) {
    if (auto* picker = findFocusedPicker(*child)) return picker;
  }
  return nullptr;
}

}  // namespace tunevale::host
