#include <cstdlib>

#include <gtest/gtest.h>
#include <png.h>

#include "host/ImageCodecs.h"
#include "host/ImageFiles.h"
#include "support/Pictures.h"

namespace tunevale::host {
namespace {

using test::jpegPicture;
using test::makeJpeg;
using test::makePng;
using test::picture;
using test::pngPicture;
using Rows = std::vector<std::vector<std::uint8_t>>;

ImageCodecs codecs;

std::vector<std::uint8_t> pixelsOf(ByteView file) {
  const ImagePtr image = codecs.imageWithData(file);
  return image ? image->pixels : std::vector<std::uint8_t>();
}

TEST(Png, RoundTripsExactly) {
  const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{1, 1}, {3, 2}, {150, 150}, {2048, 1}, {1, 2048}};
  for (const auto& [width, height] : sizes) {
    for (const bool opaque : {true, false}) {
      const ImagePtr image = picture(width, height, 9, opaque);
      const auto file = codecs.pngRepresentation(*image);
      ASSERT_TRUE(file);
      const ImagePtr again = codecs.imageWithData(*file);
      ASSERT_TRUE(again) << width << "x" << height;
      EXPECT_EQ(again->width, width);
      EXPECT_EQ(again->pixels, image->pixels);
      EXPECT_EQ(again->digest, image->digest);
    }
  }
}

TEST(Png, EncodesNoImageWhoseNumbersDisagree) {
  EXPECT_FALSE(codecs.pngRepresentation({2, 2, std::vector<std::uint8_t>(15), 0}));
  EXPECT_FALSE(codecs.pngRepresentation({0, 0, {}, 0}));
  EXPECT_FALSE(codecs.pngRepresentation({4096, 1, std::vector<std::uint8_t>(4096 * 4), 0}));
  EXPECT_EQ(imageWithPixels(2, 2, std::vector<std::uint8_t>(15)), nullptr);
}

TEST(Png, ReadsEveryColourTypeAndDepth) {
  const std::vector<std::uint8_t> blackWhite = {0, 0, 0, 255, 255, 255, 255, 255};
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_GRAY, 1}, 2, Rows{{0x40}})), blackWhite);
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_GRAY, 4}, 2, Rows{{0x0F}})), blackWhite);
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_GRAY, 16}, 2, Rows{{0, 0, 0xFF, 0xFF}})), blackWhite);
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_GRAY_ALPHA, 8}, 1, Rows{{7, 9}})),
            (std::vector<std::uint8_t>{7, 7, 7, 9}));
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_RGB, 16}, 1, Rows{{1, 0, 0x80, 0x80, 0xFE, 0xFE}})),
            (std::vector<std::uint8_t>{1, 0x80, 0xFE, 255}));
  const std::vector<std::uint8_t> palette = {10, 20, 30, 40, 50, 60};
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_PALETTE, 2, false, palette, {128}}, 2, Rows{{0x10}})),
            (std::vector<std::uint8_t>{10, 20, 30, 128, 40, 50, 60, 255}));
}

TEST(Png, ReadsInterlacedRows) {
  Rows rows;
  const ImagePtr image = picture(13, 11, 3, false);
  for (std::size_t y = 0; y < 11; ++y) {
    const auto begin = image->pixels.begin() + static_cast<std::ptrdiff_t>(y * 13 * 4);
    rows.emplace_back(begin, begin + 13 * 4);
  }
  EXPECT_EQ(pixelsOf(makePng({PNG_COLOR_TYPE_RGB_ALPHA, 8, true}, 13, rows)), image->pixels);
}

TEST(Jpeg, ComesCloseToThePicture) {
  for (const bool progressive : {false, true}) {
    const ImagePtr image = picture(160, 90, 4);
    const ImagePtr decoded = codecs.imageWithData(jpegPicture(160, 90, 4, 92, progressive));
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->pixels.size(), image->pixels.size());
    EXPECT_EQ(decoded->width, 160U);
    int worst = 0;
    for (std::size_t i = 0; i < image->pixels.size(); ++i) {
      worst = std::max(worst, std::abs(int{image->pixels[i]} - int{decoded->pixels[i]}));
    }
    EXPECT_LE(worst, 16);
  }
}

TEST(Jpeg, ReadsGreyAndRefusesFourColours) {
  const auto grey = pixelsOf(makeJpeg(8, 8, 1, {77}));
  ASSERT_EQ(grey.size(), 8U * 8 * 4);
  EXPECT_EQ(grey[0], grey[1]);
  EXPECT_EQ(grey[1], grey[2]);
  EXPECT_NEAR(grey[0], 77, 1);
  EXPECT_EQ(grey[3], 255);
  EXPECT_TRUE(pixelsOf(makeJpeg(8, 8, 4, {77})).empty());
}

TEST(Digest, TellsPicturesApart) {
  const std::vector<std::uint8_t> pixels(4 * 6);
  const std::uint64_t digest = imageWithPixels(2, 3, pixels)->digest;
  EXPECT_EQ(imageWithPixels(2, 3, pixels)->digest, digest);
  EXPECT_NE(imageWithPixels(3, 2, pixels)->digest, digest);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    auto other = pixels;
    other[i] = 1;
    EXPECT_NE(imageWithPixels(2, 3, other)->digest, digest) << i;
  }
}

}  // namespace
}  // namespace tunevale::host
