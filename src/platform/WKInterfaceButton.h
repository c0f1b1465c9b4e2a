#pragma once

#include <string_view>

#include "platform/ShownText.h"
#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// Something to tap. Its content is a background image, a text of the layout, or child elements.
class WKInterfaceButton : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::button;
  using Action = std::function<void()>;
  explicit WKInterfaceButton(ElementAttributes attributes)
      : WKInterfaceObject(kKind, std::move(attributes)) {}

  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled) { assign(enabled_, enabled); }
  const ImageSource& backgroundImage() const { return image_; }
  /// An image of the layout; an empty name clears it.
  void setBackgroundImageNamed(std::string_view name) { assign(image_, {std::string(name), nullptr}); }
  const std::string& title() const { return title_; }
  void setTitle(std::string_view utf8) { assign(title_, std::string(shownText(utf8))); }

  void setAction(Action action) { action_ = std::move(action); }
  /// What a person's tap does. False, and nothing happens, when the button is hidden or disabled.
  bool tap();

 private:
  bool enabled_ = true;
  ImageSource image_;
  std::string title_;
  Action action_;
};

}  // namespace tunevale
