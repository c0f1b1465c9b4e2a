#include "phone/Artwork.h"

#include <charconv>

#include "phone/Canvas.h"
#include "phone/PictureEncoders.h"

namespace tunevale::phone {

namespace {

constexpr int kSide = static_cast<int>(kArtworkSide);
constexpr std::size_t kIdDigits = 16;
constexpr int kBlurRadius = 12;

/// Numbers that follow from a seed (the SplitMix64 sequence of Steele, Lea and Flood).
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : state_(seed) {}
  /// From `low` to `high`, both included.
  int between(int low, int high) {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return low + static_cast<int>((z ^ (z >> 31)) % static_cast<std::uint64_t>(high - low + 1));
  }

 private:
  std::uint64_t state_;
};

void paintHills(Canvas& canvas, Dice& dice, int hue) {
  canvas.disc(dice.between(70, 230), dice.between(60, 120), dice.between(30, 52),
              colorOf((hue + 40) % 360, 70, 250), 235);
  for (int i = 0; i < 3; ++i) {
    canvas.hill(dice.between(0, kSide), 150 + i * 40, dice.between(60, 140),
                colorOf((hue + 15 * i) % 360, 150, 140 - 40 * i), 225);
  }
}

void paintRings(Canvas& canvas, Dice& dice, int hue) {
  const int x = dice.between(60, 240);
  const int y = dice.between(60, 240);
  const int step = dice.between(26, 40);
  for (int radius = step; radius < kSide + step; radius += step) {
    canvas.ring(x, y, radius, step / 3, colorOf((hue + radius / 4) % 360, 80, 255), 110);
  }
  canvas.disc(x, y, step / 2, colorOf(hue, 20, 255), 230);
}

void paintDiscs(Canvas& canvas, Dice& dice, int hue) {
  for (int i = 0; i < 7; ++i) {
    canvas.disc(dice.between(20, 280), dice.between(20, 280), dice.between(28, 90),
                colorOf((hue + dice.between(0, 90)) % 360, dice.between(60, 200), 240),
                dice.between(60, 130));
  }
}

void paintRecord(Canvas& canvas, Dice& dice, int hue) {
  const int x = dice.between(130, 170);
  const int y = dice.between(130, 170);
  canvas.disc(x, y, 118, colorOf(hue, 90, 28), 240);
  for (int radius = 110; radius > 50; radius -= 8) canvas.ring(x, y, radius, 2, colorOf(hue, 40, 120), 90);
  canvas.disc(x, y, 42, colorOf((hue + dice.between(120, 200)) % 360, 160, 235), 255);
  canvas.disc(x, y, 6, colorOf(hue, 60, 30), 255);
}

Canvas painted(std::uint64_t seed) {
  Dice dice(seed);
  const int hue = dice.between(0, 359);
  const int other = (hue + dice.between(30, 80)) % 360;
  Canvas canvas(kSide);
  canvas.gradient(colorOf(hue, dice.between(120, 190), dice.between(170, 235)),
                  colorOf(other, dice.between(130, 210), dice.between(70, 130)), dice.between(-2, 2),
                  dice.between(1, 3));
  switch (dice.between(0, 3)) {
    case 0:
      paintHills(canvas, dice, hue);
      break;
    case 1:
      paintRings(canvas, dice, hue);
      break;
    case 2:
      paintDiscs(canvas, dice, hue);
      break;
    default:
      paintRecord(canvas, dice, hue);
      break;
  }
  return canvas;
}

Bytes encodedAs(const Canvas& canvas, PictureFormat format) {
  return format == PictureFormat::jpeg ? encodedJpeg(canvas) : encodedPng(canvas);
}

}  // namespace

// FNV-1a, 64 bits: http://www.isthe.com/chongo/tech/comp/fnv
Artwork::Artwork(std::string_view name) : seed_(0xCBF29CE484222325U) {
  for (const char c : name) seed_ = (seed_ ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
}

std::optional<Artwork> Artwork::withId(std::string_view id) {
  std::uint64_t seed = 0;
  const char* end = id.data() + id.size();
  const auto [rest, error] = std::from_chars(id.data(), end, seed, 16);
  if (id.size() != kIdDigits || error != std::errc() || rest != end) return std::nullopt;
  return Artwork(seed);
}

std::string Artwork::id() const {
  std::string digits(kIdDigits, '0');
  for (std::size_t i = 0; i < kIdDigits; ++i) {
    digits[i] = "0123456789abcdef"[(seed_ >> (60 - 4 * i)) & 15U];
  }
  return digits;
}

Bytes Artwork::encoded(PictureFormat format) const {
  return encodedAs(painted(seed_), format);
}

Bytes Artwork::encodedBlurred(PictureFormat format) const {
  Canvas canvas = painted(seed_);
  canvas.blur(kBlurRadius);
  return encodedAs(canvas, format);
}

}  // namespace tunevale::phone
