#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// What a controller or row class offers to the layout, by name: its outlets and its actions.
class Connections {
 public:
  struct Outlet {
    std::string name;
    WKInterfaceObject::Kind kind;
    std::function<void(WKInterfaceObject&)> assign;
  };
  struct TapAction {
    std::string name;
    std::function<void()> run;
  };
  struct PickAction {
    std::string name;
    std::function<void(int index)> run;
  };

  /// An element that the layout must have. The field is set before the class awakens and stays valid as long
  /// as the object that owns it.
  template <class Element>
  void outlet(std::string name, Element*& field) {
    outlets.push_back({std::move(name), Element::kKind,
                       [&field](WKInterfaceObject& element) { field = static_cast<Element*>(&element); }});
  }
  /// What a button of the layout may do.
  void action(std::string name, std::function<void()> run) {
    tapActions.push_back({std::move(name), std::move(run)});
  }
  /// What a picker of the layout may do.
  void pickerAction(std::string name, std::function<void(int index)> run) {
    pickActions.push_back({std::move(name), std::move(run)});
  }

  std::vector<Outlet> outlets;
  std::vector<TapAction> tapActions;
  std::vector<PickAction> pickActions;
};

}  // namespace tunevale
