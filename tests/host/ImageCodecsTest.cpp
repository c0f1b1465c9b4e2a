#include <algorithm>
#include <cstdio>  // jpeglib.h needs FILE
#include <cstdlib>
#include <random>
#include <tuple>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "host/Downscaler.h"
#include "host/ExifAssembly.h"
#include "host/ImageCodecs.h"
#include "host/ImageLimits.h"
#include "host/PngAssembly.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using namespace test;
using Pixels = std::vector<std::uint8_t>;

ImageCodecs codecs;

Pixels pixelsOf(ByteView file) {
  const ImagePtr image = codecs.imageWithData(file);
  return image ? image->pixels : Pixels();
}

int farthest(const Pixels& a, const Pixels& b) {
  int most = a.size() == b.size() ? 0 : 256;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) most = std::max(most, std::abs(a[i] - b[i]));
  return most;
}

TEST(Png, EncodesNoImageThatItCouldNotReadAgain) {
  Pixels noise;
  std::minstd_rand random;
  for (int i = 0; i < 1200 * 1000 * 4; ++i) noise.push_back(static_cast<std::uint8_t>(random() >> 8));
  EXPECT_FALSE(codecs.pngRepresentation({1200, 1000, noise, 0}));
  EXPECT_FALSE(codecs.pngRepresentation({2, 2, Pixels(15), 0}));
  EXPECT_FALSE(codecs.pngRepresentation({0, 0, {}, 0}));
  EXPECT_FALSE(codecs.pngRepresentation({4096, 1, Pixels(4096 * 4), 0}));
}

// Grey, coloured and transparent, all over or in the last or first pixel alone.
TEST(Png, ComesBackAsItWasWritten) {
  std::minstd_rand random;
  for (const auto& [colours, alphas, colourType] :
       {std::tuple(0, 0, 0), {851, 0, 2}, {1, 0, 2}, {851, 851, 6}, {0, 1, 6}}) {
    Pixels pixels;
    for (int left = 37 * 23; left > 0; --left) {
      const auto value = static_cast<std::uint8_t>(left % 37 * 5 + static_cast<int>(random() >> 8) % 9);
      pixels.insert(pixels.end(), {value, value, value, 255});
      if (left <= colours) pixels[pixels.size() - 2] ^= 0x55;
      if (left > 851 - alphas) pixels.back() = static_cast<std::uint8_t>(value / 2);
    }
    const Bytes file = codecs.pngRepresentation({37, 23, pixels, 0}).value();
    EXPECT_EQ(pixelsOf(file), pixels);
    EXPECT_EQ(std::to_integer<int>(file[25]), colourType);
  }
}

// And is averaged down where a side is asked for, worked out by hand: three pixels on two take two thirds and
// one third, and a colour counts as its alpha.
TEST(Png, ReadsEveryColourTypeAndDepth) {
  const struct {
    Bytes header;
    Bytes rows;  // each after its filter's number, 0 for none
    Pixels pixels;
    std::uint32_t mostSide = kShownSide;
  } cases[] = {
      {pngHeader(2, 1, 1, 0), bytesOf({0, 0x40}), {0, 0, 0, 255, 255, 255, 255, 255}},
      {pngHeader(2, 1, 4, 0), bytesOf({0, 0x0F}), {0, 0, 0, 255, 255, 255, 255, 255}},
      {pngHeader(1, 1, 16, 0), bytesOf({0, 0x80, 0x80}), {128, 128, 128, 255}},
      {pngHeader(1, 1, 8, 4), bytesOf({0, 7, 9}), {7, 7, 7, 9}},
      {pngHeader(1, 1, 16, 2), bytesOf({0, 1, 1, 2, 2, 3, 3}), {1, 2, 3, 255}},
      {pngHeader(2, 1, 2, 3), bytesOf({0, 0x10}), {10, 20, 30, 128, 40, 50, 60, 255}},
      {pngHeader(2, 2, 8, 4, true),
       bytesOf({0, 1, 11, 0, 2, 12, 0, 3, 13, 4, 14}),  // first, sixth and seventh pass
       {1, 1, 1, 11, 2, 2, 2, 12, 3, 3, 3, 13, 4, 4, 4, 14}},
      {pngHeader(3, 1, 8, 0), bytesOf({0, 0, 90, 181}), {30, 30, 30, 255, 151, 151, 151, 255}, 2},
      {pngHeader(1, 3, 8, 0), bytesOf({0, 0, 0, 90, 0, 181}), {30, 30, 30, 255, 151, 151, 151, 255}, 2},
      {pngHeader(2, 2, 8, 4), bytesOf({0, 8, 255, 20, 3, 0, 200, 0, 99, 0}), {8, 8, 8, 65}, 1},
      {pngHeader(2, 1, 8, 4), bytesOf({0, 100, 0, 7, 0}), {0, 0, 0, 0}, 1},
      {pngHeader(2, 2, 8, 4, true), bytesOf({0, 1, 255, 0, 2, 255, 0, 3, 255, 6, 255}), {3, 3, 3, 255}, 1},
      {pngHeader(2, 1, 8, 0), bytesOf({0, 5, 6}), {5, 5, 5, 255, 6, 6, 6, 255}, 2},
  };
  for (const auto& [header, rows, pixels, mostSide] : cases) {
    std::vector<PngChunk> chunks = {{"IHDR", header}, {"IDAT", deflated(rows)}, {"IEND", {}}};
    if (header[9] == std::byte{3}) {
      chunks.insert(chunks.begin() + 1,
                    {{"PLTE", bytesOf({10, 20, 30, 40, 50, 60})}, {"tRNS", bytesOf({128})}});
    }
    const ImagePtr image = decodeImage(assemblePng(chunks), mostSide);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels, pixels);
  }
}

// The two formats are made smaller in different ways, and come out alike.
TEST(Codecs, DecodeAtTheSizeThatIsShown) {
  for (const auto& [size, shown] : {std::pair<PixelSize, PixelSize>({511, 300}, {511, 300}),
                                    {{1024, 600}, {512, 300}},
                                    {{700, 1701}, {211, 512}},
                                    {{1, 2048}, {1, 512}}}) {
    const ImagePtr expected = picture(shown.width, shown.height);
    for (const Bytes& file :
         {pngPicture(size.width, size.height), jpegPicture(size.width, size.height, 0, 98),
          jpegPicture(size.width, size.height, 0, 98, true)}) {
      const ImagePtr image = codecs.imageWithData(file);
      ASSERT_EQ((PixelSize{image->width, image->height}), shown) << size.width;
      EXPECT_LE(farthest(image->pixels, expected->pixels), 5) << size.width;
    }
  }
}

// Where 255 is white, as Adobe's programs store it, or no ink.
TEST(Jpeg, ReadsGreyAndInks) {
  for (const auto& [space, adobe, expected] : {std::tuple(JCS_GRAYSCALE, false, Pixels{200, 200, 200, 255}),
                                               {JCS_CMYK, true, {40, 20, 0, 255}},
                                               {JCS_YCCK, true, {40, 20, 0, 255}},
                                               {JCS_CMYK, false, {44, 124, 204, 255}}}) {
    const int components = space == JCS_GRAYSCALE ? 1 : 4;
    const Bytes file = encodeJpeg(1, 1, components, {200, 100, 0, 51}, [&](jpeg_compress_struct& encoder) {
      jpeg_set_colorspace(&encoder, space);
      jpeg_set_quality(&encoder, 100, TRUE);
      encoder.write_Adobe_marker = adobe ? TRUE : FALSE;
    });
    EXPECT_LE(farthest(pixelsOf(file), expected), 2) << space << adobe;
  }
}

TEST(Jpeg, StandsUprightAsItsExifSays) {
  Pixels samples;
  for (int i = 0; i < 512; ++i)
    samples.push_back(static_cast<std::uint8_t>((i / 256 * 2 + i % 32 / 16) * 60));
  const Bytes file = encodeJpeg(32, 16, 1, samples, [](auto&) {});
  int orientation = 0;
  for (const std::string corners :
       {"abcd", "abcd", "badc", "dcba", "cdab", "acbd", "cadb", "dbca", "bdac", "abcd"}) {
    for (const bool bigEndian : {false, true}) {
      const ImagePtr image = codecs.imageWithData(withExif(file, exif(orientation, bigEndian)));
      const std::size_t width = orientation >= 5 && orientation <= 8 ? 16 : 32;
      ASSERT_EQ(image->width, width);
      std::string seen;
      for (const std::size_t at : {std::size_t{0}, width - 1, 512 - width, std::size_t{511}}) {
        seen += static_cast<char>('a' + (image->pixels[at * 4] + 30) / 60);
      }
      EXPECT_EQ(seen, corners) << orientation;
    }
    ++orientation;
  }
}

TEST(Digest, TellsPicturesApart) {
  const Pixels pixels(4 * 6);
  const std::uint64_t digest = imageWithPixels(2, 3, pixels)->digest;
  EXPECT_EQ(imageWithPixels(2, 3, pixels)->digest, digest);
  EXPECT_NE(imageWithPixels(3, 2, pixels)->digest, digest);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    Pixels other = pixels;
    other[i] = 1;
    EXPECT_NE(imageWithPixels(2, 3, other)->digest, digest) << i;
  }
}

}  // namespace
}  // namespace tunevale::host
