#pragma once

namespace tunevale {

/// A colour of four single-precision components from 0 to 1, not premultiplied.
struct Color {
  float red = 0;
  float green = 0;
  float blue = 0;
  float alpha = 1;

  static constexpr Color colorWithRed(float red, float green, float blue, float alpha) {
    return {red, green, blue, alpha};
  }
  /// Components from 0 to 255, as designers write them.
  static constexpr Color ofBytes(int red, int green, int blue, float alpha = 1.0F) {
    return {static_cast<float>(red) / 255.0F, static_cast<float>(green) / 255.0F,
            static_cast<float>(blue) / 255.0F, alpha};
  }
  static constexpr Color blackColor() { return {0, 0, 0, 1}; }

  friend constexpr bool operator==(const Color&, const Color&) = default;
};

}  // namespace tunevale
