#pragma once

#include <optional>
#include <string_view>

#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// A running image sequence: frames `location` to `location + length - 1` of the background image's name, one
/// pass in `duration` seconds, `repeatCount` times (0: until stopped).
struct FrameAnimation {
  int location = 0;
  int length = 0;  // 0: all frames
  double duration = 0;
  int repeatCount = 0;
  friend bool operator==(const FrameAnimation&, const FrameAnimation&) = default;
};

/// Elements together, over a background of a colour, a picture or an image sequence.
class WKInterfaceGroup : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::group;
  explicit WKInterfaceGroup(ElementAttributes attributes) : WKInterfaceObject(kKind, std::move(attributes)) {}

  const std::optional<Color>& backgroundColor() const { return color_; }
  void setBackgroundColor(std::optional<Color> color) { assign(color_, color); }

  const ImageSource& backgroundImage() const { return image_; }
  void setBackgroundImage(ImagePtr image) { assign(image_, {"", std::move(image)}); }
  /// An image, or the base name of an image sequence, of the layout; an empty name clears it.
  void setBackgroundImageNamed(std::string_view name) { assign(image_, {std::string(name), nullptr}); }

  const std::optional<FrameAnimation>& animation() const { return animation_; }
  /// Runs all frames at the layout's pace, for ever.
  void startAnimating() { assign(animation_, std::optional(FrameAnimation{})); }
  void startAnimatingWithImagesInRange(int location, int length, double duration, int repeatCount) {
    assign(animation_, std::optional(FrameAnimation{location, length, duration, repeatCount}));
  }
  void stopAnimating() { assign(animation_, std::optional<FrameAnimation>()); }

 private:
  std::optional<Color> color_;
  ImageSource image_;
  std::optional<FrameAnimation> animation_;
};

}  // namespace tunevale
