#include "host/TreeJson.h"

#include <array>
#include <charconv>
#include <cmath>

#include <boost/json.hpp>

#include "foundation/Text.h"
#include "platform/WKInterfaceButton.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"
#include "platform/WKInterfacePicker.h"
#include "platform/WKInterfaceSlider.h"
#include "platform/WKInterfaceTable.h"

namespace tunevale::host {

namespace json = boost::json;

namespace {

using Kind = WKInterfaceObject::Kind;

/// A single-precision number by its shortest decimal form, which is what was meant by it.
json::value numberJson(float number) {
  if (!std::isfinite(number)) return 0;
  if (std::abs(number) < 1e6F && number == std::trunc(number)) return static_cast<std::int64_t>(number);
  std::array<char, 32> text{};
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  double value = 0;
  std::from_chars(text.data(), end, value);
  return value;
}

class Writer {
 public:
  explicit Writer(const ImageNamer& imageId) : imageId_(imageId) {}

  json::object node(const WKInterfaceObject& element, const std::string& id) const {
    json::object node{{"id", id}, {"kind", kindName(element.kind())}};
    putText(node, "outlet", element.attributes().outlet);
    putText(node, "style", element.attributes().style);
    putText(node, "label", element.attributes().label);
    if (element.isHidden()) node["hidden"] = true;
    putContent(node, element, id);
    if (!element.children().empty()) {
      json::array children;
      for (std::size_t i = 0; i < element.children().size(); ++i) {
        children.push_back(this->node(*element.children()[i], id + "." + std::to_string(i)));
      }
      node["children"] = std::move(children);
    }
    return node;
  }

 private:
  static void putText(json::object& node, const char* key, const std::string& text) {
    if (!text.empty()) node[key] = textJson(text);
  }
  void putImage(json::object& node, const ImageSource& source) const {
    putText(node, "image", imageId_(source));
  }

  void putContent(json::object& node, const WKInterfaceObject& element, const std::string& id) const {
    switch (element.kind()) {
      case Kind::label:
        putText(node, "text", static_cast<const WKInterfaceLabel&>(element).text());
        break;
      case Kind::image:
        putImage(node, static_cast<const WKInterfaceImage&>(element).image());
        break;
      case Kind::group:
        putGroup(node, static_cast<const WKInterfaceGroup&>(element));
        break;
      case Kind::button: {
        const auto& button = static_cast<const WKInterfaceButton&>(element);
        putText(node, "text", button.title());
        putImage(node, button.backgroundImage());
        node["enabled"] = button.isEnabled();
        break;
      }
      case Kind::slider: {
        const auto& slider = static_cast<const WKInterfaceSlider&>(element);
        node["minimum"] = numberJson(slider.minimum());
        node["maximum"] = numberJson(slider.maximum());
        node["value"] = numberJson(slider.value());
        break;
      }
      case Kind::picker:
        putPicker(node, static_cast<const WKInterfacePicker&>(element));
        break;
      case Kind::table:
        putRows(node, static_cast<const WKInterfaceTable&>(element), id);
        break;
    }
  }

  void putGroup(json::object& node, const WKInterfaceGroup& group) const {
    if (const auto& color = group.backgroundColor()) {
      node["color"] = {numberJson(color->red), numberJson(color->green), numberJson(color->blue),
                       numberJson(color->alpha)};
    }
    putImage(node, group.backgroundImage());
    if (const auto& animation = group.animation()) {
      node["animation"] = {{"location", animation->location},
                           {"length", animation->length},
                           {"duration", animation->duration},
                           {"repeatCount", animation->repeatCount}};
    }
  }

  void putPicker(json::object& node, const WKInterfacePicker& picker) const {
    json::array items;
    for (const WKPickerItem& item : picker.items()) {
      json::object entry;
      putText(entry, "title", item.title());
      putText(entry, "caption", item.caption());
      if (item.contentImage()) putImage(entry, {"", item.contentImage()->image()});
      items.push_back(std::move(entry));
    }
    node["items"] = std::move(items);
    node["selected"] = picker.selectedItemIndex();
    node["enabled"] = picker.isEnabled();
    node["focused"] = picker.isFocused();
  }

  void putRows(json::object& node, const WKInterfaceTable& table, const std::string& id) const {
    json::array rows;
    for (std::size_t i = 0; i < table.rows().size(); ++i) {
      const WKInterfaceTable::Row& row = table.rows()[i];
      rows.push_back({{"type", row.type}, {"tree", this->node(*row.tree, id + "/" + std::to_string(i))}});
    }
    node["rows"] = std::move(rows);
  }

  const ImageNamer& imageId_;
};

}  // namespace

json::string textJson(std::string_view text) {
  return isValidUtf8(text) ? json::string(text) : json::string(sanitizedUtf8(text));
}

const char* kindName(Kind kind) {
  switch (kind) {
    case Kind::label:
      return "label";
    case Kind::image:
      return "image";
    case Kind::group:
      return "group";
    case Kind::button:
      return "button";
    case Kind::slider:
      return "slider";
    case Kind::picker:
      return "picker";
    case Kind::table:
      return "table";
  }
  return "";
}

json::object treeJson(const WKInterfaceObject& root, const ImageNamer& imageId) {
  return Writer(imageId).node(root, "0");
}

}  // namespace tunevale::host
