#pragma once

#include <string_view>

#include "platform/ShownText.h"
#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// A line of text, cut as ShownText.h says.
class WKInterfaceLabel : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::label;
  explicit WKInterfaceLabel(ElementAttributes attributes) : WKInterfaceObject(kKind, std::move(attributes)) {}
  const std::string& text() const { return text_; }
  void setText(std::string_view utf8) { assign(text_, std::string(shownText(utf8))); }

 private:
  std::string text_;
};

}  // namespace tunevale
