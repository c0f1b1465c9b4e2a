#include "host/SceneReader.h"

#include <algorithm>
#include <array>

namespace tunevale::host {

namespace {

using Kind = WKInterfaceObject::Kind;

// No screen of 198 points needs more; it keeps the readers of the tree from deep recursion.
constexpr int kMostDepth = 16;

constexpr std::array<std::pair<std::string_view, Kind>, 7> kTags{{{"label", Kind::label},
                                                                  {"image", Kind::image},
                                                                  {"group", Kind::group},
                                                                  {"button", Kind::button},
                                                                  {"slider", Kind::slider},
                                                                  {"picker", Kind::picker},
                                                                  {"table", Kind::table}}};

std::string_view tagOf(Kind kind) {
  return std::find_if(kTags.begin(), kTags.end(), [&](const auto& tag) { return tag.second == kind; })->first;
}

void checkAttributes(const LayoutSource& source, pugi::xml_node node, Kind kind) {
  switch (kind) {
    case Kind::label:
      return source.allowAttributes(node, {"outlet", "id", "style", "label", "text"});
    case Kind::image:
    case Kind::group:
      return source.allowAttributes(node, {"outlet", "id", "style", "label", "image"});
    case Kind::button:
      return source.allowAttributes(
          node, {"outlet", "id", "style", "label", "text", "image", "action", "segue", "to", "present"});
    case Kind::slider:
      return source.allowAttributes(node, {"outlet", "id", "style", "label", "minimum", "maximum"});
    case Kind::picker:
      return source.allowAttributes(node, {"outlet", "id", "style", "label", "action"});
    case Kind::table:
      return source.allowAttributes(node, {"outlet", "id", "style", "label"});
  }
}

std::string styleOf(const LayoutSource& source, pugi::xml_node node) {
  const std::string style = node.attribute("style").value();
  const bool plain = std::all_of(style.begin(), style.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == ' ';
  });
  if (!plain) source.fail(node, "style", "a style name is made of letters, digits and hyphens");
  return style;
}

}  // namespace

SceneLayout SceneReader::readScene(const LayoutContext& context, pugi::xml_node node) {
  const LayoutSource& source = context.source;
  source.allowAttributes(node, {"identifier", "class", "title", "style", "label"});
  SceneLayout scene;
  scene.identifier = source.required(node, "identifier");
  scene.className = source.required(node, "class");
  scene.title = node.attribute("title").value();
  const auto* const offer = context.registry.screenOffer(scene.className);
  if (offer == nullptr) source.fail(node, "class", "there is no screen class " + inQuotes(scene.className));
  scene.content = SceneReader(context, *offer, scene.className, false).readContent(node);
  return scene;
}

RowLayout SceneReader::readRow(const LayoutContext& context, pugi::xml_node node) {
  const LayoutSource& source = context.source;
  source.allowAttributes(node, {"type", "class", "style", "label"});
  RowLayout row;
  row.type = source.required(node, "type");
  row.className = source.required(node, "class");
  const auto* const offer = context.registry.rowOffer(row.className);
  if (offer == nullptr) source.fail(node, "class", "there is no row class " + inQuotes(row.className));
  row.content = SceneReader(context, *offer, row.className, true).readContent(node);
  return row;
}

ElementLayout SceneReader::readContent(pugi::xml_node node) {
  ElementLayout content;
  content.style = styleOf(context_.source, node);
  content.label = node.attribute("label").value();
  readChildren(node, content, 0);
  for (const auto& [outlet, kind] : offer_.outlets) {
    if (names_.contains(outlet)) continue;
    context_.source.fail(node, "the " + std::string(tagOf(kind)) + " for the outlet " + inQuotes(outlet) +
                                   " of " + inQuotes(className_) + " is missing");
  }
  return content;
}

void SceneReader::readChildren(pugi::xml_node node, ElementLayout& into, int depth) {
  for (const pugi::xml_node child : node.children()) into.children.push_back(readElement(child, depth + 1));
}

ElementLayout SceneReader::readElement(pugi::xml_node node, int depth) {
  const LayoutSource& source = context_.source;
  const auto* const tag =
      std::find_if(kTags.begin(), kTags.end(), [&](const auto& each) { return each.first == node.name(); });
  if (tag == kTags.end()) source.fail(node, "there is no element " + inQuotes(node.name()));
  if (depth > kMostDepth) source.fail(node, "elements are nested too deep");
  checkAttributes(source, node, tag->second);

  ElementLayout element;
  element.kind = tag->second;
  element.style = styleOf(source, node);
  element.label = node.attribute("label").value();
  element.text = node.attribute("text").value();
  readName(node, element);
  readImage(node, element);
  readAction(node, element);
  readSegue(node, element);
  readBounds(node, element);
  if (element.kind == Kind::table) {
    readRows(node, element);
  } else if (element.kind == Kind::group || element.kind == Kind::button) {
    readChildren(node, element, depth);
  } else if (const pugi::xml_node child = node.first_child()) {
    source.fail(child, inQuotes(node.name()) + " holds no other elements");
  }
  return element;
}

void SceneReader::readName(pugi::xml_node node, ElementLayout& element) {
  const LayoutSource& source = context_.source;
  element.outlet = node.attribute("outlet").value();
  element.id = node.attribute("id").value();
  const char* const attribute = element.outlet.empty() ? "id" : "outlet";
  if (!element.outlet.empty()) {
    if (!element.id.empty()) source.fail(node, "id", "an element with an outlet needs no id");
    const auto outlet = offer_.outlets.find(element.outlet);
    if (outlet == offer_.outlets.end()) {
      source.fail(node, attribute, inQuotes(className_) + " has no outlet " + inQuotes(element.outlet));
    }
    if (outlet->second != element.kind) {
      source.fail(node, attribute,
                  "the outlet " + inQuotes(element.outlet) + " is a " + std::string(tagOf(outlet->second)));
    }
  }
  const std::string& name = element.outlet.empty() ? element.id : element.outlet;
  if (!element.id.empty() && offer_.outlets.contains(name)) {
    source.fail(node, attribute, "the id " + inQuotes(name) + " is the name of an outlet");
  }
  if (!name.empty() && !names_.insert(name).second) {
    source.fail(node, attribute, "the name " + inQuotes(name) + " is already taken");
  }
}

void SceneReader::readImage(pugi::xml_node node, ElementLayout& element) {
  element.image = node.attribute("image").value();
  const InterfaceLayout& layout = context_.layout;
  if (element.image.empty() || layout.images.contains(element.image)) return;
  if (element.kind == Kind::group && layout.sequences.contains(element.image)) return;
  context_.source.fail(node, "image", "there is no image " + inQuotes(element.image) + " among the images");
}

void SceneReader::readAction(pugi::xml_node node, ElementLayout& element) {
  element.action = node.attribute("action").value();
  if (element.action.empty()) return;
  const auto action = offer_.actions.find(element.action);
  if (action == offer_.actions.end()) {
    context_.source.fail(node, "action", inQuotes(className_) + " has no action " + inQuotes(element.action));
  }
  if (action->second != element.kind) {
    context_.source.fail(
        node, "action",
        "the action " + inQuotes(element.action) + " is for a " + std::string(tagOf(action->second)));
  }
}

void SceneReader::readSegue(pugi::xml_node node, ElementLayout& element) {
  const LayoutSource& source = context_.source;
  for (const char* attribute : {"to", "present"}) {
    if (node.attribute(attribute) && !node.attribute("segue")) {
      source.fail(node, attribute, "only a segue has " + inQuotes(attribute));
    }
  }
  if (!node.attribute("segue")) return;
  if (inRow_) source.fail(node, "segue", "a row has no segues");
  if (!element.action.empty()) source.fail(node, "segue", "a button has an action or a segue, not both");
  SegueLayout segue;
  segue.identifier = source.required(node, "segue");
  segue.to = source.required(node, "to");
  const std::string present = source.required(node, "present");
  if (!context_.sceneIdentifiers.contains(segue.to)) {
    source.fail(node, "to", "there is no scene " + inQuotes(segue.to));
  }
  segue.modal = present == "modal";
  if (!segue.modal && present != "push") source.fail(node, "present", "a segue presents by push or modal");
  element.segue = std::move(segue);
}

void SceneReader::readBounds(pugi::xml_node node, ElementLayout& element) {
  if (element.kind != Kind::slider) return;
  element.minimum = context_.source.number(node, "minimum", element.minimum);
  element.maximum = context_.source.number(node, "maximum", element.maximum);
  if (element.minimum >= element.maximum) context_.source.fail(node, "the minimum is not below the maximum");
}

void SceneReader::readRows(pugi::xml_node node, ElementLayout& element) {
  const LayoutSource& source = context_.source;
  if (inRow_) source.fail(node, "a row holds no table");
  for (const pugi::xml_node child : node.children()) {
    if (std::string_view(child.name()) != "row") {
      source.fail(child, "a table holds rows, not " + inQuotes(child.name()));
    }
    RowLayout row = readRow(context_, child);
    const bool taken = std::any_of(element.rows.begin(), element.rows.end(),
                                   [&](const RowLayout& other) { return other.type == row.type; });
    if (taken) source.fail(child, "type", "the row type " + inQuotes(row.type) + " is already taken");
    element.rows.push_back(std::move(row));
  }
  if (element.rows.empty()) source.fail(node, "a table needs a row");
}

}  // namespace tunevale::host
