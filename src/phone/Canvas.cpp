#include "phone/Canvas.h"

#include <algorithm>
#include <cstdlib>

namespace tunevale::phone {

namespace {

int mixed(int from, int to, int part, int whole) {
  return from + (to - from) * part / whole;
}

std::uint8_t byteOf(int value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

/// How much of a pixel lies inside a circle, from 0 to 255, by the square of its distance to the centre.
int coverage(int squared, int radius) {
  if (radius <= 0 || squared >= (radius + 1) * (radius + 1)) return 0;
  if (squared <= (radius - 1) * (radius - 1)) return 255;
  // Close to the edge the difference of the squares is the distance times the diameter.
  return std::clamp((radius * radius - squared) * 128 / radius + 128, 0, 255);
}

}  // namespace

Rgb colorOf(int hue, int saturation, int value) {
  const int low = value * (255 - saturation) / 255;
  const int part = hue % 60;
  const int rising = mixed(low, value, part, 60);
  const int falling = mixed(value, low, part, 60);
  const auto rgb = [](int red, int green, int blue) { return Rgb{byteOf(red), byteOf(green), byteOf(blue)}; };
  switch (hue / 60 % 6) {
    case 0:
      return rgb(value, rising, low);
    case 1:
      return rgb(falling, value, low);
    case 2:
      return rgb(low, value, rising);
    case 3:
      return rgb(low, falling, value);
    case 4:
      return rgb(rising, low, value);
    default:
      return rgb(value, low, falling);
  }
}

void Canvas::blend(int x, int y, Rgb color, int opacity) {
  std::uint8_t* pixel = &pixels_[static_cast<std::size_t>(y * side_ + x) * 3];
  pixel[0] = byteOf(mixed(pixel[0], color.red, opacity, 255));
  pixel[1] = byteOf(mixed(pixel[1], color.green, opacity, 255));
  pixel[2] = byteOf(mixed(pixel[2], color.blue, opacity, 255));
}

void Canvas::gradient(Rgb from, Rgb to, int dx, int dy) {
  const int reach = (std::abs(dx) + std::abs(dy)) * (side_ - 1);
  const int start = (std::min(dx, 0) + std::min(dy, 0)) * (side_ - 1);
  for (int y = 0; y < side_; ++y) {
    for (int x = 0; x < side_; ++x) {
      blend(x, y, from, 255);
      blend(x, y, to, (x * dx + y * dy - start) * 255 / std::max(reach, 1));
    }
  }
}

void Canvas::ring(int centerX, int centerY, int radius, int width, Rgb color, int opacity) {
  for (int y = std::max(0, centerY - radius - 1); y < std::min(side_, centerY + radius + 2); ++y) {
    for (int x = std::max(0, centerX - radius - 1); x < std::min(side_, centerX + radius + 2); ++x) {
      const int squared = (x - centerX) * (x - centerX) + (y - centerY) * (y - centerY);
      const int shown = coverage(squared, radius) - coverage(squared, radius - width);
      if (shown > 0) blend(x, y, color, opacity * shown / 255);
    }
  }
}

void Canvas::hill(int centerX, int topY, int gentle, Rgb color, int opacity) {
  for (int x = 0; x < side_; ++x) {
    const int dx = x - centerX;
    const int top = topY * 256 + dx * dx * 256 / (gentle * 4);  // in 256ths of a pixel
    for (int y = std::max(0, top / 256); y < side_; ++y) {
      blend(x, y, color, opacity * std::clamp(y * 256 + 256 - top, 0, 255) / 255);
    }
  }
}

void Canvas::blur(int radius) {
  const auto side = static_cast<std::size_t>(side_);
  for (int pass = 0; pass < 3; ++pass) {
    blurLines(radius, 3, side * 3);
    blurLines(radius, side * 3, 3);
  }
}

void Canvas::blurLines(int radius, std::size_t pixelStep, std::size_t lineStep) {
  std::vector<int> line(static_cast<std::size_t>(side_));
  const auto at = [&line, this](int i) {
    return line[static_cast<std::size_t>(std::clamp(i, 0, side_ - 1))];
  };
  for (int lineNumber = 0; lineNumber < side_; ++lineNumber) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      std::uint8_t* first = &pixels_[static_cast<std::size_t>(lineNumber) * lineStep + channel];
      for (std::size_t i = 0; i < line.size(); ++i) line[i] = first[i * pixelStep];
      int sum = 0;  // of the pixels around the one before the first
      for (int i = -radius - 1; i < radius; ++i) sum += at(i);
      for (int i = 0; i < side_; ++i) {
        sum += at(i + radius) - at(i - radius - 1);
        first[static_cast<std::size_t>(i) * pixelStep] = byteOf(sum / (2 * radius + 1));
      }
    }
  }
}

}  // namespace tunevale::phone
