#pragma once

#include <string_view>

#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// A picture.
class WKInterfaceImage : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::image;
  explicit WKInterfaceImage(ElementAttributes attributes) : WKInterfaceObject(kKind, std::move(attributes)) {}
  const ImageSource& image() const { return image_; }
  /// Shows an image of the layout; an unknown or empty name shows none.
  void setImageNamed(std::string_view name) { assign(image_, {std::string(name), nullptr}); }
  /// Shows a decoded image; null shows none.
  void setImage(ImagePtr image) { assign(image_, {"", std::move(image)}); }

 private:
  ImageSource image_;
};

}  // namespace tunevale
