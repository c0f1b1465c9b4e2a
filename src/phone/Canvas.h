#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tunevale::phone {

struct Rgb {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
};

/// A colour from the wheel: hue in degrees (0 to 359), saturation and value from 0 to 255.
Rgb colorOf(int hue, int saturation, int value);

/// A square of pixels to paint on. Whole numbers only, so that every machine paints the same picture.
class Canvas {
 public:
  explicit Canvas(int side)
      : side_(side), pixels_(static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * 3) {}

  int side() const { return side_; }
  /// Rows from the top, red, green, blue.
  const std::vector<std::uint8_t>& pixels() const { return pixels_; }

  /// From one colour to the other along the direction (dx, dy), not both 0.
  void gradient(Rgb from, Rgb to, int dx, int dy);
  /// Opacity from 0 to 255. All shapes may reach beyond the square.
  void disc(int x, int y, int radius, Rgb color, int opacity) { ring(x, y, radius, radius, color, opacity); }
  void ring(int x, int y, int radius, int width, Rgb color, int opacity);
  /// Everything below a hilltop at (x, y) that falls off to both sides, by one pixel per `gentle` at a pixel.
  void hill(int x, int y, int gentle, Rgb color, int opacity);
  /// Averages over squares of 2 * radius + 1 pixels, three times over, which comes close to a lens out of
  /// focus.
  void blur(int radius);

 private:
  void blend(int x, int y, Rgb color, int opacity);
  void blurLines(int radius, std::size_t pixelStep, std::size_t lineStep);

  int side_;
  std::vector<std::uint8_t> pixels_;
};

}  // namespace tunevale::phone
