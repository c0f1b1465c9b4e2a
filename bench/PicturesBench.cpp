// bench_pictures FOLDER: turns pictures into PNG files as the watch does with artwork that arrives, at full
// size, beside libvips with one thread. Writes the pictures into FOLDER for bench/pictures.py, and a line per
// figure: picture, what, who, milliseconds of processor time, bytes of the result.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <vips/vips.h>

#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"

using namespace tunevale;

namespace {

void require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "bench_pictures: %s\n", what.c_str());
  std::exit(1);
}

/// Much like a photo: slow changes of colour, eight objects with an edge and a texture, and the grain of a
/// sensor, with dice that fall the same each time.
std::vector<std::uint8_t> photo(int side, double grain) {
  std::vector<std::uint8_t> samples;
  std::minstd_rand random(1);
  const auto noise = [&] { return static_cast<double>(random() % 1000) / 1000 - 0.5; };
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const double u = double(x) / side, v = double(y) / side;
      double colour[3] = {90 + 80 * u + 40 * std::sin(6 * v + 3 * u),
                          70 + 90 * v + 30 * std::sin(9 * u * v + 1),
                          120 - 60 * u * v + 40 * std::cos(5 * u)};
      for (int k = 0; k < 8; ++k) {
        const double distance =
            std::hypot(u - std::fmod(0.37 * k + 0.13, 1), v - std::fmod(0.61 * k + 0.29, 1));
        const double inside = 1 / (1 + std::exp((distance - 0.05 - 0.03 * (k % 4)) * 150));
        const double texture = 0.7 + 0.3 * std::sin(40 * u + k) * std::cos(55 * v);
        for (int c = 0; c < 3; ++c) colour[c] += inside * texture * ((k * 53 + c * 97) % 160 - 80);
      }
      const double brightness = (noise() + noise() + noise() + noise()) * grain;
      for (const double c : colour) {
        samples.push_back(
            static_cast<std::uint8_t>(std::clamp(c + brightness + noise() * grain / 2, 0.0, 255.0)));
      }
    }
  }
  return samples;
}

struct Buffer {
  void* data = nullptr;
  std::size_t size = 0;
  Buffer() = default;
  Buffer(const Buffer&) = delete;
  ~Buffer() { g_free(data); }
  ByteView bytes() const { return {static_cast<const std::byte*>(data), size}; }
};

VipsImage* opened(ByteView file) {
  VipsImage* image =
      vips_image_new_from_buffer(file.data(), file.size(), "", "access", VIPS_ACCESS_SEQUENTIAL, nullptr);
  require(image != nullptr, "libvips cannot read");
  return image;
}

struct Contender {
  const char* what;
  std::string who;
  std::function<std::size_t()> action;
  std::size_t bytes = 0;
  std::vector<double> milliseconds = {};
};

/// Of all threads of this process: other programs do not count, and helpers of a library do.
double processorMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

constexpr int kRounds = 9;

/// The contenders take turns.
void race(const std::string& picture, std::vector<Contender>& contenders) {
  for (int round = 0; round < kRounds; ++round) {
    for (Contender& contender : contenders) {
      const double start = processorMilliseconds();
      contender.bytes = contender.action();
      contender.milliseconds.push_back(processorMilliseconds() - start);
    }
  }
  for (Contender& contender : contenders) {
    auto& times = contender.milliseconds;
    std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
    std::printf("%s\t%s\t%s\t%.2f\t%zu\n", picture.c_str(), contender.what, contender.who.c_str(),
                times[kRounds / 2], contender.bytes);
  }
}

struct Settings {
  const char* name;
  int level;
  int filter;
};

// libvips' own choice, and its fastest: with the next level or another filter it takes longer.
constexpr Settings kSettings[] = {{"libvips", 6, VIPS_FOREIGN_PNG_FILTER_NONE},
                                  {"libvips-fast", 1, VIPS_FOREIGN_PNG_FILTER_UP}};

void measure(const std::string& folder, const std::string& name, ByteView file) {
  std::ofstream(folder + "/" + name, std::ios::binary) << asText(file);
  host::ImageCodecs codecs;
  std::vector<Contender> contenders = {
      {"decode", "tunevale",
       [&] {
         const ImagePtr image = host::decodeImage(file, host::kMostImageSide);
         require(image != nullptr, "cannot read");
         return image->pixels.size();
       }},
      {"decode", "libvips",
       [&] {
         VipsImage* image = opened(file);
         Buffer pixels;
         pixels.data = vips_image_write_to_memory(image, &pixels.size);
         g_object_unref(image);
         return pixels.size;
       }},
      {"to PNG", "tunevale",
       [&] {
         const auto png = codecs.pngRepresentation(*host::decodeImage(file, host::kMostImageSide));
         require(png.has_value(), "cannot write");
         return png->size();
       }},
      {"to PNG, shown size", "tunevale",
       [&] { return codecs.pngRepresentation(*codecs.imageWithData(file))->size(); }},
  };
  for (const Settings& settings : kSettings) {
    contenders.push_back({"to PNG", settings.name, [&] {
                            VipsImage* image = opened(file);
                            Buffer png;
                            vips_pngsave_buffer(image, &png.data, &png.size, "compression", settings.level,
                                                "filter", settings.filter, nullptr);
                            g_object_unref(image);
                            return png.size;
                          }});
  }
  race(name, contenders);
}

}  // namespace

int main(int count, char** arguments) {
  require(count == 2, "usage: bench_pictures FOLDER");
  require(VIPS_INIT(arguments[0]) == 0, "libvips does not start");
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  for (const int side : {500, 1000}) {
    for (const auto& [grain, kind] : {std::pair(2, "smooth"), {6, "grainy"}}) {
      const std::vector<std::uint8_t> samples = photo(side, grain);
      VipsImage* image =
          vips_image_new_from_memory(samples.data(), samples.size(), side, side, 3, VIPS_FORMAT_UCHAR);
      Buffer jpeg, png;
      vips_jpegsave_buffer(image, &jpeg.data, &jpeg.size, "Q", 90, nullptr);
      vips_pngsave_buffer(image, &png.data, &png.size, "filter", VIPS_FOREIGN_PNG_FILTER_ALL, nullptr);
      g_object_unref(image);
      const std::string name = std::to_string(side) + "-" + kind;
      measure(arguments[1], name + ".jpg", jpeg.bytes());
      measure(arguments[1], name + ".png", png.bytes());
    }
  }
  vips_shutdown();
  return 0;
}
