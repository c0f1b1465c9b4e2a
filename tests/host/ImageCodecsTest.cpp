#include <algorithm>
#include <cstdio>  // jpeglib.h needs FILE
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>
#include <jpeglib.h>

#include "host/Downscaler.h"
#include "host/ExifAssembly.h"
#include "host/ImageCodecs.h"
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

TEST(Png, ReadsEveryColourTypeAndDepth) {
  const struct {
    Bytes header;
    Bytes rows;  // each after its filter's number, 0 for none
    Pixels pixels;
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
  };
  for (const auto& [header, rows, pixels] : cases) {
    std::vector<PngChunk> chunks = {{"IHDR", header}, {"IDAT", deflated(rows)}, {"IEND", {}}};
    if (header[9] == std::byte{3}) {
      chunks.insert(chunks.begin() + 1,
                    {{"PLTE", bytesOf({10, 20, 30, 40, 50, 60})}, {"tRNS", bytesOf({128})}});
    }
    EXPECT_EQ(pixelsOf(assemblePng(chunks)), pixels);
  }
}

// Worked out by hand: three pixels on two take two thirds and one third, and a colour counts as its alpha.
TEST(Png, IsAveragedDownToTheSizeAskedFor) {
  const struct {
    Bytes header;
    Bytes rows;
    std::uint32_t mostSide;
    std::uint32_t width;
    Pixels pixels;
  } cases[] = {
      {pngHeader(3, 1, 8, 0), bytesOf({0, 0, 90, 181}), 2, 2, {30, 30, 30, 255, 151, 151, 151, 255}},
      {pngHeader(1, 3, 8, 0), bytesOf({0, 0, 0, 90, 0, 181}), 2, 1, {30, 30, 30, 255, 151, 151, 151, 255}},
      {pngHeader(2, 2, 8, 4), bytesOf({0, 8, 255, 20, 3, 0, 200, 0, 99, 0}), 1, 1, {8, 8, 8, 65}},
      {pngHeader(2, 1, 8, 4), bytesOf({0, 100, 0, 7, 0}), 1, 1, {0, 0, 0, 0}},
      {pngHeader(2, 2, 8, 4, true), bytesOf({0, 1, 255, 0, 2, 255, 0, 3, 255, 6, 255}), 1, 1, {3, 3, 3, 255}},
      {pngHeader(2, 1, 8, 0), bytesOf({0, 5, 6}), 2, 2, {5, 5, 5, 255, 6, 6, 6, 255}},
  };
  for (const auto& [header, rows, mostSide, width, pixels] : cases) {
    const Bytes file = assemblePng({{"IHDR", header}, {"IDAT", deflated(rows)}, {"IEND", {}}});
    const ImagePtr image = decodeImage(file, mostSide);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, width);
    EXPECT_EQ(image->pixels, pixels);
  }
}

// The two formats are made smaller in different ways, and come out alike.
TEST(Codecs, DecodeAtTheSizeThatIsShown) {
  for (const auto& [size, shown] : {std::pair<PixelSize, PixelSize>({512, 300}, {512, 300}),
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

TEST(Jpeg, ReadsGreyAndInks) {
  const Pixels inks = {200, 100, 0, 51};  // where 255 is white, as Adobe's programs store it
  const auto inInks = [](J_COLOR_SPACE space, bool adobe) {
    return [=](jpeg_compress_struct& encoder) {
      jpeg_set_colorspace(&encoder, space);
      jpeg_set_quality(&encoder, 100, TRUE);
      encoder.write_Adobe_marker = adobe ? TRUE : FALSE;
    };
  };
  Pixels samples;
  for (int i = 0; i < 64; ++i) samples.insert(samples.end(), inks.begin(), inks.end());
  const std::pair<Bytes, Pixels> cases[] = {
      {encodeJpeg(8, 8, 1, Pixels(64, 77), [](auto&) {}), {77, 77, 77, 255}},
      {encodeJpeg(8, 8, 4, samples, inInks(JCS_CMYK, true)), {40, 20, 0, 255}},
      {encodeJpeg(8, 8, 4, samples, inInks(JCS_YCCK, true)), {40, 20, 0, 255}},
      {encodeJpeg(8, 8, 4, samples, inInks(JCS_CMYK, false)), {44, 124, 204, 255}},
  };
  for (const auto& [file, pixel] : cases) {
    Pixels expected;
    for (int i = 0; i < 64; ++i) expected.insert(expected.end(), pixel.begin(), pixel.end());
    EXPECT_LE(farthest(pixelsOf(file), expected), 2) << int{pixel[0]};
  }
}

TEST(Jpeg, StandsUprightAsItsExifSays) {
  Pixels samples;
  for (int i = 0; i < 32 * 16; ++i)
    samples.push_back(static_cast<std::uint8_t>((i / 256 * 2 + i % 32 / 16) * 60));
  const Bytes file = encodeJpeg(32, 16, 1, samples, [](auto&) {});
  const char* const corners[] = {"abcd", "abcd", "badc", "dcba", "cdab",
                                 "acbd", "cadb", "dbca", "bdac", "abcd"};
  for (int orientation = 0; orientation < 10; ++orientation) {
    for (const bool bigEndian : {false, true}) {
      const ImagePtr image = codecs.imageWithData(withExif(file, exif(orientation, bigEndian)));
      ASSERT_TRUE(image);
      const bool turned = orientation >= 5 && orientation <= 8;
      ASSERT_EQ(std::pair(image->width, image->height), turned ? std::pair(16U, 32U) : std::pair(32U, 16U));
      std::string seen;
      for (const std::size_t at : {std::size_t{0}, image->width - 1UL, 511UL - (image->width - 1), 511UL}) {
        seen += static_cast<char>('a' + (image->pixels[at * 4] + 30) / 60);
      }
      EXPECT_EQ(seen, corners[orientation]) << orientation;
    }
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
