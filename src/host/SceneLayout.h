#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/WKInterfaceObject.h"

namespace tunevale::host {

/// The layout file as plain values, already checked against the classes and the images.

/// What a button opens instead of running an action.
struct SegueLayout {
  std::string identifier;
  std::string to;      // a scene's identifier
  bool modal = false;  // pushed otherwise
};

struct RowLayout;

/// One element. What its kind has no use for is empty.
struct ElementLayout {
  WKInterfaceObject::Kind kind = WKInterfaceObject::Kind::group;
  std::string outlet;  // declared by the class
  std::string id;      // a name for inputs, where there is no outlet
  std::string style;
  std::string label;
  std::string text;
  std::string image;
  std::string action;
  std::optional<SegueLayout> segue;
  float minimum = 0;
  float maximum = 10;
  std::vector<ElementLayout> children;  // of groups and buttons
  std::vector<RowLayout> rows;          // of tables
};

struct RowLayout {
  std::string type;
  std::string className;
  ElementLayout content;  // a group
};

struct SceneLayout {
  std::string identifier;
  std::string className;
  std::string title;
  ElementLayout content;  // a group
};

struct InterfaceLayout {
  std::string initial;  // a scene's identifier
  std::map<std::string, SceneLayout, std::less<>> scenes;
  std::string imageFolder;                    // absolute, or relative to the working directory
  std::set<std::string, std::less<>> images;  // each a file NAME.png in the folder; frames one by one
  std::set<std::string, std::less<>> sequences;
  const SceneLayout* scene(std::string_view identifier) const {
    const auto found = scenes.find(identifier);
    return found == scenes.end() ? nullptr : &found->second;
  }
};

}  // namespace tunevale::host
